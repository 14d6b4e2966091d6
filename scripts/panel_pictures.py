"""Makes the pictures of panels in docs/pictures: panel_pictures.py BUILD_DIRECTORY PICTURE_DIRECTORY [beside]

With "beside" it makes only the picture of icons beside the panels' own, which each Debian has.
"""

import pathlib
import platform
import sys
import tempfile
import time

import gi
from panel_session import NotInstalled, PanelSession
from PIL import Image, ImageDraw, ImageFont
from pictures import Box, changed_box
from private_demo import Demo

gi.require_version("GdkPixbuf", "2.0")
from gi.repository import GdkPixbuf  # noqa: E402

ICONS = pathlib.Path("/usr/share/icons/Adwaita")
MENUS = (("xfce4-panel", "dark"), ("xfce4-panel", "light"), ("waybar",), ("lxqt-panel",), ("mate-panel",))
PLASMA = (("plasma", "breeze"), ("plasma", "breezedark"), ("plasma", "breezetwilight"))
BESIDE = (*MENUS[:3], ("lxqt-panel", "default"), ("lxqt-panel", "Clearlooks"), ("mate-panel", "default"))
BESIDE += (("mate-panel", "BlackMATE"), *PLASMA, ("gnome",), ("cinnamon",), ("budgie",))
DEBIAN = platform.freedesktop_os_release().get("VERSION_ID")
FONT = "/usr/share/fonts/truetype/wqy/wqy-microhei.ttc"
LABELS = 200  # pixels of a row that holds a piece of a bar
PIECE = 290
ZOOM = 3


def draw_icon(name, side, directory):
    """A picture of Adwaita's as a host would give it, with 2 of 22 points free on all sides."""
    margin = side // 11
    file = directory / f"{name}-{side}.png"
    drawing = next(ICONS.rglob(f"{name}-symbolic.svg"))
    GdkPixbuf.Pixbuf.new_from_file_at_size(str(drawing), *[side - 2 * margin] * 2).savev(str(file), "png", [], [])
    icon = Image.new("RGBA", (side, side))
    icon.paste(Image.open(file), (margin, margin))
    icon.save(file)
    return file


def show(session, build, file):
    """The bar's picture with another item in it."""
    before = session.settled()
    session.start_item(build, file)
    session.settled(lambda now: changed_box(before, now, session.bar), file.name)
    time.sleep(1)  # some panels make room for an icon before they have it
    return session.settled()


def zoomed(picture, zoom):
    return picture.resize((picture.width * zoom, picture.height * zoom), Image.Resampling.NEAREST)


def stacked(pictures, gap=4):
    width, height = max(each.width for each in pictures), sum(each.height + gap for each in pictures) - gap
    sheet = Image.new("RGB", (width, height), "white")
    top = 0
    for picture in pictures:
        sheet.paste(picture, (0, top))
        top += picture.height + gap
    return sheet


def beside(build, panel, theme=None):
    """Three icons among the panel's own, which lie around them."""
    with PanelSession(panel, theme, has_neighbours=True) as session:
        for name in ("mail-unread", "alarm", "weather-few-clouds"):
            picture = show(session, build, draw_icon(name, 64, session.directory))
        bar = session.bar
        at_end = changed_box(session.empty, picture, bar).centre[0] > session.size[0] // 2
        left = session.size[0] - PIECE if at_end else 0
        look = zoomed(picture.crop((left, bar.top, left + PIECE, bar.bottom)), ZOOM)
    row = Image.new("RGB", (LABELS + look.width, look.height), "white")
    label = f"{panel}, {theme}" if theme else panel
    ImageDraw.Draw(row).text((0, row.height // 2 - 10), label, fill="black", font=ImageFont.truetype(FONT, 16))
    row.paste(look, (LABELS, 0))
    return row


def menu(build, panel, theme=None):
    """The example's menu, and the bar beside it."""
    with PanelSession(panel, theme) as session:
        session.start_host([build / "examples/example_c"])
        icon = session.wait_for_icon()
        opened = session.open_menu(icon)
        box = opened.box
        left, right = min(box.left, icon.box.left), max(box.right, icon.box.right)
        top, bottom = min(box.top, session.bar.top), max(box.bottom, session.bar.bottom)
        width, height = session.size
        around = (max(0, left - 12), max(0, top - 12), min(width, right + 12), min(height, bottom + 12))
        return opened.picture.crop(around)


def sharpness(scale, build):
    """One icon of 22, 44 and 64 pixels; all enlarged to the same size."""
    row = []
    for side in (22, 44, 64):
        with PanelSession("waybar") as session:
            socket = next((session.directory / "run").glob("sway-ipc.*"))
            session.run(["swaymsg", "-s", socket, "output", "HEADLESS-1", "scale", str(scale)])
            session.empty = session.settled()
            bar = session.bar = Box(*(scale * edge for edge in session.panel.bar(0, 0)))._replace(right=session.size[0])
            picture = show(session, build, draw_icon("alarm", side, session.directory))
            row.append(zoomed(picture.crop((bar.right - 36 * scale, 0, bar.right, bar.bottom)), 10 // scale))
    sheet = Image.new("RGB", (sum(each.width for each in row), row[0].height))
    for index, each in enumerate(row):
        sheet.paste(each, (index * each.width, 0))
    return sheet


def main():
    build, directory = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])

    def save(name, picture):
        picture.save(directory / f"{name}.png", optimize=True)
        print(f"panels: {directory / name}.png", flush=True)

    if sys.argv[3:] != ["beside"]:
        with tempfile.TemporaryDirectory() as demo, PanelSession("xfce4-panel", "dark", size=(480, 270)) as session:
            steps = Demo(session, build, pathlib.Path(demo))
            steps.with_items()
            steps.animated()
            for name in ("menu", "animation"):
                save(name, Image.open(next(pathlib.Path(demo).glob(f"*-{name}.png"))))
        for look in MENUS:
            save("-".join(("panel", *look)), menu(build, *look))
        save("sharpness", stacked([sharpness(scale, build) for scale in (1, 2)], gap=0))
    name = "beside_panels" if DEBIAN == "12" else f"beside_panels_debian{DEBIAN}"
    rows = []
    for look in BESIDE:
        try:
            rows.append(beside(build, *look))
        except NotInstalled as missing:
            print(f"panels: no {look[0]} here, not installed: {missing}", file=sys.stderr)
    save(name, stacked(rows))


if __name__ == "__main__":
    main()
