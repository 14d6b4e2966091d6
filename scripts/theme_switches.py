"""Switches GTK's theme and xfce4-panel's dark mode at random under an icon: theme_switches.py BUILD_DIRECTORY [COUNT]

Prints each switch after which the icon has less contrast than text needs, or not the colour of the panel's clock, and
the counts of both. Exit status 1: there is one. The order of the switches is the same in each run.
"""

import pathlib
import random
import sys
import time
from typing import NamedTuple

from panel_session import PanelSession
from pictures import contrast, draw_shapes, ink_colour, main_colour
from xfce_settings import set_xfconf

THEMES = ("Adwaita", "Adwaita-dark", "Arc", "Arc-Dark", "BlackMATE", "Blue-Submarine", "BlueMenta", "Greybird")
THEMES += ("Green-Submarine", "Greybird-dark", "Menta", "Numix", "TraditionalOk")
AFTER_SWITCH = 2.0  # seconds in which an icon may take on the new theme
WANTED = 4.5  # WCAG 2.1, 1.4.3
SAME = 4  # units of 255 between the edge of a letter and its colour


class Seen(NamedTuple):
    bar: tuple
    clock: tuple
    icon: tuple

    @property
    def contrast(self):
        return contrast(self.icon, self.bar)

    @property
    def is_stale(self):
        return max(abs(a - b) for a, b in zip(self.icon, self.clock)) > SAME


def switches(count):
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


def main():
    build, count = pathlib.Path(sys.argv[1]).resolve(), int(sys.argv[2]) if len(sys.argv) > 2 else 45
    missing = [name for name in THEMES if not pathlib.Path("/usr/share/themes", name, "gtk-3.0").exists()]
    if missing:
        sys.exit(f"panels: themes not installed: {', '.join(missing)}")
    low, stale, lowest = 0, 0, 21.0
    with PanelSession("xfce4-panel", "dark", has_neighbours=True) as session:
        session.start_item(build, draw_shapes(session.directory)["solid"])
        places = session.panel.own_colour(session.bar)
        for name, setting in switches(count):
            set_xfconf(session, *setting)
            time.sleep(AFTER_SWITCH)
            picture = session.settled()
            bar = main_colour(picture, session.bar)
            seen = Seen(bar, *(ink_colour(picture, place, bar) for place in places))
            low += seen.contrast < WANTED
            stale += seen.is_stale
            lowest = min(lowest, seen.contrast)
            if seen.contrast < WANTED or seen.is_stale:
                print(f"{name}: contrast {seen.contrast:.2f}, {seen}", flush=True)
    print(f"{count} switches: {low} below {WANTED}, {stale} not in the clock's colour, lowest contrast {lowest:.2f}")
    return 1 if low or stale else 0


if __name__ == "__main__":
    sys.exit(main())
