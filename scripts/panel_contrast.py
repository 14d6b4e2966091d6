"""How well an icon is seen in panels: panel_contrast.py BUILD_DIRECTORY PICTURE_DIRECTORY [PANEL…]

Starts each panel in each of its themes, and switches each running panel to the others. Prints a table with the
contrast of the icon and the bar, beside the contrast that is wanted on a bar of that colour. Leaves an enlarged picture
of each look. Exit status 1: an icon has less than is wanted, or no panel is installed.
"""

import pathlib
import sys
import time
from typing import NamedTuple

from desktops import DESKTOPS
from panel_session import NotInstalled, PanelSession
from panels import PANELS
from PIL import Image
from pictures import draw_shapes, icon_contrast, wanted_contrast

AFTER_SWITCH = 2.0  # seconds in which an icon may take on the new theme
ZOOM = 6


class Row(NamedTuple):
    panel: str
    look: str
    bar: tuple  # its colour
    contrasts: dict  # by shape


class Measurement:
    def __init__(self, session, host, directory):
        self.session = session
        self.host = host
        self.directory = directory
        self.shapes = draw_shapes(session.directory)
        self.empty = {session.theme: session.empty}
        for theme in looks(session.panel):
            if theme != session.theme:
                session.switch_theme(theme)
                self.empty[theme] = session.settled()
        if len(self.empty) > 1:
            session.switch_theme(session.theme)
            session.settled()

    def start(self):
        self.host.tell("create")
        self.host.tell(f"icon {self.shapes['solid']}")
        return self.look(self.session.theme)

    def switched(self, theme):
        """The shape that is there is looked at as the switch left it, the other as it comes."""
        before = self.session.look
        self.session.switch_theme(theme)
        time.sleep(AFTER_SWITCH)
        self.session.empty = self.empty[theme]
        return self.look(f"{before} to {theme}")

    def look(self, name):
        icon = self.session.wait_for_icon()
        contrasts, crops = {}, []
        for shape in ("solid", "strokes", "solid"):
            if contrasts:
                before = self.session.picture().crop(icon.box)
                self.host.tell(f"icon {self.shapes[shape]}")
                self.session.settled(lambda now: now.crop(icon.box) != before, shape)
            if shape not in contrasts:
                picture = self.session.settled()
                contrasts[shape] = icon_contrast(picture, icon)
                crops.append(picture.crop(icon.box._replace(left=icon.box.left - 8, right=icon.box.right + 8)))
        self.save(name, crops)
        return Row(self.session.name, name, icon.ground, contrasts)

    def save(self, name, crops):
        width, height = crops[0].width * ZOOM, crops[0].height * ZOOM
        strip = Image.new("RGB", (width * len(crops), height))
        for index, crop in enumerate(crops):
            strip.paste(crop.resize((width, height), Image.Resampling.NEAREST), (index * width, 0))
        strip.save(self.directory / f"{self.session.name} {name}.png".replace(" ", "-").replace("#", ""))


def looks(panel):
    return tuple(dict.fromkeys(panel.themes + panel.colours))


def measure(panel, build, directory):
    """Gives each row as soon as it is measured."""
    for theme in {**PANELS, **DESKTOPS}[panel].themes:
        with PanelSession(panel, theme) as session:
            host = session.start_host([build / "tests/panel/panel_host"])
            measurement = Measurement(session, host, directory)
            yield measurement.start()
            for other in looks(session.panel) if theme == session.panel.themes[0] else session.panel.themes:
                if other != theme:
                    yield measurement.switched(other)
                    session.switch_theme(theme)
                    session.settled()


def is_seen(row):
    return min(row.contrasts.values()) >= wanted_contrast(row.bar)


def cells(row):
    wanted, bar = wanted_contrast(row.bar), "#%02x%02x%02x" % row.bar
    ratios = (f"{ratio:.2f}" if ratio >= wanted else f"**{ratio:.2f}**" for ratio in row.contrasts.values())
    return f"| {row.panel} | {row.look} | `{bar}` | {wanted:g} | {' | '.join(ratios)} |"


def main():
    build, directory = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    directory.mkdir(parents=True, exist_ok=True)
    print("| panel | theme | bar | wanted | solid | strokes |\n|---|---|---|---|---|---|", flush=True)
    rows = []
    for panel in sys.argv[3:] or [*PANELS, *DESKTOPS]:
        try:
            for row in measure(panel, build, directory):
                print(cells(row), flush=True)
                rows.append(row)
        except NotInstalled as missing:
            print(f"panels: no {panel} here, not installed: {missing}", file=sys.stderr)
    lowest = min((ratio for row in rows for ratio in row.contrasts.values()), default=0)
    print(f"\nlowest contrast: {lowest:.2f}")
    return 0 if rows and all(is_seen(row) for row in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
