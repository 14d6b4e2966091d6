"""How well an icon is seen in panels:

    panel_contrast.py BUILD_DIRECTORY PICTURE_DIRECTORY [PANEL…]
    panel_contrast.py BUILD_DIRECTORY --switches [COUNT]

Starts each panel in each of its themes, and switches each running panel to the others. Prints a table with the
contrast of the icon and the bar, beside the contrast that is wanted on a bar of that colour. Leaves an enlarged picture
of each look. Exit status 1: an icon has less than is wanted, or no panel is installed.

--switches changes GTK's theme and xfce4-panel's dark mode at random, in the same order in each run. Prints each switch
after which the icon has less contrast than is wanted of text, or not the colour of the panel's clock. Exit status 1:
there is one.
"""

import pathlib
import random
import sys
import time
from typing import NamedTuple

from desktops import DESKTOPS
from panel_session import NotInstalled, PanelSession
from panels import PANELS
from pictures import beside, contrast, draw_shapes, icon_contrast, ink_colour, main_colour, wanted_contrast, zoomed
from xfce_settings import set_xfconf

AFTER_SWITCH = 2.0  # seconds in which an icon may take on the new theme
TEXT = 4.5  # the contrast that WCAG 2.1, 1.4.3, asks of text
SAME = 4  # units of 255 between the edge of a letter and its colour
THEMES = ("Adwaita", "Adwaita-dark", "Arc", "Arc-Dark", "BlackMATE", "Blue-Submarine", "BlueMenta", "Greybird")
THEMES += ("Green-Submarine", "Greybird-dark", "Menta", "Numix", "TraditionalOk")


class Row(NamedTuple):
    panel: str
    look: str
    bar: tuple  # its colour
    contrasts: dict  # by shape

    @property
    def is_seen(self):
        return min(self.contrasts.values()) >= wanted_contrast(self.bar)

    def __str__(self):
        wanted, bar = wanted_contrast(self.bar), "#%02x%02x%02x" % self.bar
        ratios = (f"{ratio:.2f}" if ratio >= wanted else f"**{ratio:.2f}**" for ratio in self.contrasts.values())
        return f"| {self.panel} | {self.look} | `{bar}` | {wanted:g} | {' | '.join(ratios)} |"


class Measurement:
    def __init__(self, session, build, directory):
        self.session = session
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
        self.host = session.start_item(build, self.shapes["solid"])

    def switched(self, theme):
        """The shape that is there is looked at as the switch left it, the other as it comes."""
        name = f"{self.session.look} to {theme}"
        self.session.switch_theme(theme)
        time.sleep(AFTER_SWITCH)
        self.session.empty = self.empty[theme]
        return self.look(name)

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
                crops.append(zoomed(picture.crop(icon.box._replace(left=icon.box.left - 8, right=icon.box.right + 8)), 6))
        beside(crops).save(self.directory / f"{self.session.name} {name}.png".replace(" ", "-").replace("#", ""))
        return Row(self.session.name, name, icon.ground, contrasts)


def looks(panel):
    return tuple(dict.fromkeys(panel.themes + panel.colours))


def measure(panel, build, directory):
    """Gives each row as soon as it is measured."""
    for theme in {**PANELS, **DESKTOPS}[panel].themes:
        with PanelSession(panel, theme) as session:
            measurement = Measurement(session, build, directory)
            yield measurement.look(theme)
            for other in looks(session.panel) if theme == session.panel.themes[0] else session.panel.themes:
                if other != theme:
                    yield measurement.switched(other)
                    session.switch_theme(theme)
                    session.settled()


def measure_panels(build, directory, *panels):
    directory = pathlib.Path(directory).resolve()
    directory.mkdir(parents=True, exist_ok=True)
    print("| panel | theme | bar | wanted | solid | strokes |\n|---|---|---|---|---|---|", flush=True)
    rows = []
    for panel in panels or [*PANELS, *DESKTOPS]:
        try:
            for row in measure(panel, build, directory):
                print(row, flush=True)
                rows.append(row)
        except NotInstalled as missing:
            print(f"panels: no {panel} here, not installed: {missing}", file=sys.stderr)
    lowest = min((ratio for row in rows for ratio in row.contrasts.values()), default=0)
    print(f"\nlowest contrast: {lowest:.2f}")
    return bool(rows) and all(row.is_seen for row in rows)


def random_switches(count):
    """Every third one switches the dark mode, the others the theme."""
    chosen = random.Random(5)
    theme, is_dark = "Adwaita", True
    for number in range(count):
        if number % 3 == 2:
            is_dark = not is_dark
            yield f"{theme}, dark mode {is_dark}", ("xfce4-panel", "/panels/dark-mode", "bool", str(is_dark).lower())
        else:
            before, theme = theme, chosen.choice([name for name in THEMES if name != theme])
            yield f"{before} to {theme}, dark mode {is_dark}", ("xsettings", "/Net/ThemeName", "string", theme)


def measure_switches(build, count=45):
    missing = [name for name in THEMES if not pathlib.Path("/usr/share/themes", name, "gtk-3.0").exists()]
    if missing:
        sys.exit(f"panels: themes not installed: {', '.join(missing)}")
    low, stale, lowest = 0, 0, 21.0
    with PanelSession("xfce4-panel", "dark", has_neighbours=True) as session:
        session.start_item(build, draw_shapes(session.directory)["solid"])
        places = session.panel.own_colour(session.bar)
        for name, setting in random_switches(int(count)):
            set_xfconf(session, *setting)
            time.sleep(AFTER_SWITCH)
            picture = session.settled()
            bar = main_colour(picture, session.bar)
            clock, icon = (ink_colour(picture, place, bar) for place in places)
            ratio = contrast(icon, bar)
            is_stale = max(abs(a - b) for a, b in zip(icon, clock)) > SAME
            low += ratio < TEXT
            stale += is_stale
            lowest = min(lowest, ratio)
            if ratio < TEXT or is_stale:
                print(f"{name}: contrast {ratio:.2f}, bar {bar}, clock {clock}, icon {icon}", flush=True)
    print(f"{count} switches: {low} below {TEXT}, {stale} not in the clock's colour, lowest contrast {lowest:.2f}")
    return not low and not stale


if __name__ == "__main__":
    build, *arguments = sys.argv[1:]
    build = pathlib.Path(build).resolve()
    if arguments[0] == "--switches":
        sys.exit(not measure_switches(build, *arguments[1:]))
    sys.exit(not measure_panels(build, *arguments))
