"""Uses the examples in private sessions and makes pictures of them:

    panel_pictures.py demo BUILD_DIRECTORY PICTURE_DIRECTORY    each step of the examples in C and Python, as a user has it
    panel_pictures.py docs BUILD_DIRECTORY PICTURE_DIRECTORY    the pictures in docs/pictures
    panel_pictures.py beside BUILD_DIRECTORY PICTURE_DIRECTORY  of these only the icons beside the panels' own
"""

import pathlib
import platform
import signal
import sys
import time

from panel_session import LEFT, NotInstalled, PanelSession
from PIL import Image, ImageDraw, ImageFont
from pictures import Box, beside, changed_box, stacked, zoomed
from servers import wait_for

ANIMATED = pathlib.Path(__file__).resolve().parents[1] / "examples/python/main.py"
ICONS = pathlib.Path("/usr/share/icons/Adwaita")
MENUS = (("xfce4-panel", "dark"), ("xfce4-panel", "light"), ("waybar",), ("lxqt-panel",), ("mate-panel",))
PLASMA = (("plasma", "breeze"), ("plasma", "breezedark"), ("plasma", "breezetwilight"))
BESIDE = (*MENUS[:3], ("lxqt-panel", "default"), ("lxqt-panel", "Clearlooks"), ("mate-panel", "default"))
BESIDE += (("mate-panel", "BlackMATE"), *PLASMA, ("gnome",), ("cinnamon",), ("budgie",))
DEBIAN = platform.freedesktop_os_release().get("VERSION_ID")
FONT = "/usr/share/fonts/truetype/wqy/wqy-microhei.ttc"
LABELS = 200  # pixels of a row that holds a piece of a bar
PIECE = 290


class Demo:
    """The examples in xfce4-panel; `save(name, picture)` gets a picture of each step."""

    def __init__(self, session, build, save):
        self.session = session
        self.build = build
        self.save = save

    def picture(self, name):
        self.save(name, self.session.settled())

    def start(self, words):
        self.host = self.session.start_host(words, {"LD_LIBRARY_PATH": str(self.build / "native/exports")})
        return self.session.wait_for_icon()

    def expect(self, line):
        self.host.expect(line)
        print(f"demo: the host says: {line}", flush=True)

    def quit(self, menu, line):
        """Chooses the last entry, which ends the host."""
        self.session.choose(menu, len(menu.entries) - 1)
        self.expect(line)
        status = self.host.wait_end()
        if status:
            raise RuntimeError(f"the host ended with status {status}")
        self.session.wait_for_no_icon()

    def run_items(self):
        icon = self.start([self.build / "examples/example_c"])
        self.picture("icon")
        self.session.click(LEFT, icon.box.centre)
        self.expect("clicked")
        self.picture("clicked")
        menu = self.session.open_menu(icon)
        self.picture("menu")
        self.session.choose(menu, 1)
        self.expect("chosen: preferences")
        self.picture("chosen")
        self.quit(self.session.open_menu(icon), "chosen: quit")

    def run_animation(self):
        """The frames that could be caught, side by side."""
        icon = self.start(["/usr/bin/python3", "-B", ANIMATED])
        self.expect("frames are ready")
        looks = [self.session.picture().crop(icon.box)]
        self.session.click(LEFT, icon.box.centre)

        def is_over():
            look = self.session.picture().crop(icon.box)
            if changed_box(looks[-1], look):
                looks.append(look)
            return len(looks) > 2 and not changed_box(looks[0], look)

        wait_for(is_over, "animation", pause=0)
        self.expect("clicked")
        self.save("animation", beside([zoomed(look, 4) for look in looks]))
        self.quit(self.session.open_menu(icon), "chosen: quit")

    def run_basic(self):
        menu = self.session.open_menu(self.start([self.build / "examples/example_c", "--basic"]))
        self.picture("basic-menu")
        self.quit(menu, "asked to end")
        self.picture("ended")


def demo_session():
    return PanelSession("xfce4-panel", "dark", size=(480, 270))


def draw_icon(name, side, directory):
    """A picture of Adwaita's as a host would give it, with 2 of 22 points free on all sides."""
    import gi

    gi.require_version("GdkPixbuf", "2.0")
    from gi.repository import GdkPixbuf

    margin = side // 11
    file = directory / f"{name}-{side}.png"
    drawing = next(ICONS.rglob(f"{name}-symbolic.svg"))
    GdkPixbuf.Pixbuf.new_from_file_at_size(str(drawing), *[side - 2 * margin] * 2).savev(str(file), "png", [], [])
    icon = Image.new("RGBA", (side, side))
    icon.paste(Image.open(file), (margin, margin))
    icon.save(file)
    return file


def show(session, build, name, side=64):
    """The bar's picture with another item in it."""
    before = session.settled()
    session.start_item(build, draw_icon(name, side, session.directory))
    session.settled(lambda now: changed_box(before, now, session.bar), name)
    time.sleep(1)  # some panels make room for an icon before they have it
    return session.settled()


def piece_of_bar(build, panel, theme=None):
    """Three icons among the panel's own, which lie around them."""
    with PanelSession(panel, theme, has_neighbours=True) as session:
        for name in ("mail-unread", "alarm", "weather-few-clouds"):
            picture = show(session, build, name)
        bar = session.bar
        at_end = changed_box(session.empty, picture, bar).centre[0] > session.size[0] // 2
        left = session.size[0] - PIECE if at_end else 0
        look = zoomed(picture.crop((left, bar.top, left + PIECE, bar.bottom)), 3)
    label = Image.new("RGB", (LABELS, look.height), "white")
    text = f"{panel}, {theme}" if theme else panel
    ImageDraw.Draw(label).text((0, label.height // 2 - 10), text, fill="black", font=ImageFont.truetype(FONT, 16))
    return beside([label, look])


def menu(build, panel, theme=None):
    """The example's menu, and the bar beside it."""
    with PanelSession(panel, theme) as session:
        session.start_host([build / "examples/example_c"])
        icon = session.wait_for_icon()
        opened = session.open_menu(icon)
        boxes = (opened.box, Box(icon.box.left, session.bar.top, icon.box.right, session.bar.bottom))
        corner = (max(0, min(box[edge] for box in boxes) - 12) for edge in (0, 1))
        opposite = (min(session.size[edge], max(box[2 + edge] for box in boxes) + 12) for edge in (0, 1))
        return opened.picture.crop((*corner, *opposite))


def sharpness(scale, build):
    """One icon of 22, 44 and 64 pixels; all enlarged to the same size."""
    row = []
    for side in (22, 44, 64):
        with PanelSession("waybar") as session:
            socket = next((session.directory / "run").glob("sway-ipc.*"))
            session.run(["swaymsg", "-s", socket, "output", "HEADLESS-1", "scale", str(scale)])
            session.empty = session.settled()
            bar = session.bar = Box(*(scale * edge for edge in session.panel.bar(0, 0)))._replace(right=session.size[0])
            picture = show(session, build, "alarm", side)
            row.append(zoomed(picture.crop((bar.right - 36 * scale, 0, bar.right, bar.bottom)), 10 // scale))
    return beside(row)


def make_demo(build, save):
    with demo_session() as session:
        demo = Demo(session, build, save)
        demo.run_items()
        demo.run_animation()
        demo.run_basic()


def make_docs(build, save):
    def save_some(name, picture):
        if name in ("menu", "animation"):
            save(name, picture)

    with demo_session() as session:
        demo = Demo(session, build, save_some)
        demo.run_items()
        demo.run_animation()
    for look in MENUS:
        save("-".join(("panel", *look)), menu(build, *look))
    save("sharpness", stacked([sharpness(scale, build) for scale in (1, 2)]))
    make_beside(build, save)


def make_beside(build, save):
    rows = []
    for look in BESIDE:
        try:
            rows.append(piece_of_bar(build, *look))
        except NotInstalled as missing:
            print(f"panels: no {look[0]} here, not installed: {missing}", file=sys.stderr)
    save("beside_panels" if DEBIAN == "12" else f"beside_panels_debian{DEBIAN}", stacked(rows, gap=4))


def main():
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    command, build, directory = sys.argv[1], *(pathlib.Path(argument).resolve() for argument in sys.argv[2:])
    directory.mkdir(parents=True, exist_ok=True)
    saved = []

    def save(name, picture):
        saved.append(name)
        file = directory / (f"{len(saved)}-{name}.png" if command == "demo" else f"{name}.png")
        picture.save(file, optimize=True)
        print(f"{command}: {file}", flush=True)

    if command == "demo":
        for old in directory.glob("*.png"):
            old.unlink()
    {"demo": make_demo, "docs": make_docs, "beside": make_beside}[command](build, save)


if __name__ == "__main__":
    main()
