"""The panels that a session can have, and how each is brought up with a tray in it and nothing else that moves."""

import signal
import time
from dataclasses import dataclass, field
from typing import Callable

from pictures import Box
from screens import LEFT, RIGHT, SwayScreen, XScreen
from xfce_settings import XFCE_LOOKS, XFSETTINGSD, configure_xfce, configure_xsettings, set_xfconf, switch_xfce
from xfce_settings import wait_for_xsettings

MATE_LOOKS = {"default": ("Menta", "none"), "BlackMATE": ("BlackMATE", "none"), "light": ("BlackMATE", "color")}
INDICATORS = "/usr/libexec/ayatana-indicator-application/ayatana-indicator-application-service"


@dataclass(frozen=True)
class Panel:
    """How to bring a panel up with a tray in it and nothing else that moves."""

    screen: type
    command: list
    configure: Callable  # (session): writes configuration files
    bar: Callable  # (width, height) of the screen: the bar's box
    themes: tuple = ("default",)
    colours: tuple = ()  # further looks of a running panel
    companions: tuple = ()  # commands that run beside it, such as a window manager
    wait_for_companions: Callable = lambda session: None  # until the panel may start
    watcher: list = field(default_factory=list)  # a command that runs and ends with the panel
    environment: dict = field(default_factory=dict)
    handle: int = 0  # columns at the bar's start in which the tray may paint a handle at any time
    has_accessible_icons: bool = False  # shows its icons in the session's accessibility tree
    padding: int = 0  # columns beside the icons that the panel paints only while it has icons
    menu_border: int = 3  # pixels around a menu's entries, its shadow included
    clicks: int = 1  # of the left button for one Activate
    switch_theme: Callable = None  # (session, theme), while the panel runs
    alike: tuple = ()  # the themes whose bars are of one colour
    own_colour: Callable = None  # (bar): boxes with its own text and with an icon, if it paints both in one colour
    started: Callable = lambda session: None  # what is left to do once the watcher is there
    also_needs: tuple = ()  # further programs
    refuses_root: bool = False
    menu_button: int = RIGHT  # opens the item's menu; where it is LEFT, no click reaches the host
    has_xembed_tray: bool = False  # and no watcher
    has_system_bus: bool = False  # asks for one, and gets one without services

    @property
    def programs(self):
        commands = (self.command, *self.companions, *filter(None, [self.watcher]))
        return (*self.screen.programs, "dbus-daemon", *self.also_needs, *(words[0] for words in commands))


def gtk_settings(session, theme, icons="Adwaita"):
    session.write("gtk-3.0/settings.ini", f"[Settings]\ngtk-theme-name={theme}\ngtk-icon-theme-name={icons}\n")


def configure_waybar(session):
    gtk_settings(session, "Adwaita")
    modules = '"cpu", "memory", "tray", "clock"' if session.has_neighbours else '"tray"'
    layout = '"layer": "top", "position": "top", "height": 30'
    session.write("waybar/config", f'{{{layout}, "modules-right": [{modules}]}}\n')
    style_waybar(session, session.theme)


def style_waybar(session, theme):
    """Its own style, or a bar of one colour."""
    style = session.directory / "config/waybar/style.css"
    style.unlink(missing_ok=True)
    if theme.startswith("#"):
        style.write_text(f"window#waybar, #tray {{ background: {theme}; border: none; }}\n")
        style.chmod(0o644)


def switch_waybar(session, theme):
    style_waybar(session, theme)
    session.panel_process.send_signal(signal.SIGUSR2)  # reads its configuration anew


def switch_lxqt(session, theme):
    look = {"default": "debian"}.get(theme, theme)
    session.write("lxqt/lxqt.conf", f"[General]\ntheme={look}\nicon_theme=Adwaita\n")


def configure_lxqt(session):
    switch_lxqt(session, session.theme)
    plugins = ["statusnotifier"]
    if session.has_neighbours:
        plugins = ["showdesktop", "directorymenu", *plugins, "mount", "worldclock"]
    sections = "".join(f"\n[{plugin}]\ntype={plugin}\nalignment=Right\n" for plugin in plugins)
    session.write(
        "lxqt/panel.conf",
        f"""panels=panel1

[General]
__userfile__=true

[panel1]
position=Bottom
panelSize=32
iconSize=22
width=100
width-percent=true
animation-duration=0
plugins={", ".join(plugins)}
{sections}""",
    )


def configure_mate(session):
    theme, background = MATE_LOOKS[session.theme]
    configure_xsettings(session, theme, "menta")
    write_mate(session, background)


def switch_mate(session, look):
    theme, background = MATE_LOOKS[look]
    time.sleep(1)  # GLib 2.84 misses a change of a settings file within 0.8 s after another one
    write_mate(session, background)
    # Last, because mate-panel 1.27.1 paints the theme's background again only after a switch of the theme.
    set_xfconf(session, "xsettings", "/Net/ThemeName", "string", theme)


def write_mate(session, background):
    """`background`: none for the theme's, color for a light one."""
    objects = ["WnckletFactory::ShowDesktopApplet"] if session.has_neighbours else []
    objects += ["NotificationAreaAppletFactory::NotificationArea"]
    objects += ["ClockAppletFactory::ClockApplet"] if session.has_neighbours else []
    names = [f"object-{number}" for number, _ in enumerate(objects)]
    settings = "".join(
        f"""
[org/mate/panel/objects/{name}]
object-type='applet'
applet-iid='{applet}'
toplevel-id='bar'
position={number}
locked=true
"""
        for number, (name, applet) in enumerate(zip(names, objects))
    )
    session.write(
        "glib-2.0/settings/keyfile",
        f"""[org/mate/panel/general]
toplevel-id-list=['bar']
object-id-list={names}

[org/mate/panel/toplevels/bar]
orientation='top'
enable-animations=false
size=26
{settings}
[org/mate/panel/toplevels/bar/background]
type='{background}'
color='rgb(240,240,236)'
""",
    )


PANELS = {
    "xfce4-panel": Panel(
        screen=XScreen,
        command=["xfce4-panel", "--disable-wm-check"],
        configure=configure_xfce,
        bar=lambda width, height: Box(0, 0, width, 32),
        themes=("dark", "light"),
        colours=tuple(look for look in XFCE_LOOKS if look not in ("dark", "light")),
        switch_theme=switch_xfce,
        own_colour=lambda bar: (bar._replace(left=bar.right - 100, right=bar.right - 45), bar._replace(left=bar.right - 36)),
        companions=(XFSETTINGSD,),
        wait_for_companions=wait_for_xsettings,
    ),
    "xfce4-indicators": Panel(
        screen=XScreen,
        command=["xfce4-panel", "--disable-wm-check"],
        configure=lambda session: configure_xfce(session, "indicator"),
        bar=lambda width, height: Box(0, 0, width, 32),
        themes=("dark", "light"),
        switch_theme=switch_xfce,
        menu_button=LEFT,
        handle=1,
        companions=(XFSETTINGSD,),
        wait_for_companions=wait_for_xsettings,
        watcher=[INDICATORS],
    ),
    "waybar": Panel(
        screen=SwayScreen,
        command=["waybar"],
        configure=configure_waybar,
        bar=lambda width, height: Box(0, 0, width, 30),
        padding=10,
        themes=("default", "#ffffff"),
        colours=("#ffffff", "#000000", "#2980b9", "#767676"),
        switch_theme=switch_waybar,
    ),
    "lxqt-panel": Panel(
        screen=XScreen,
        command=["lxqt-panel"],
        configure=configure_lxqt,
        themes=("default", "Clearlooks"),
        switch_theme=switch_lxqt,
        has_accessible_icons=True,
        bar=lambda width, height: Box(0, height - 32, width, height),
        companions=(["openbox"],),
        environment={"XDG_CURRENT_DESKTOP": "LXQt", "QT_QPA_PLATFORMTHEME": "lxqt"},
    ),
    "mate-panel": Panel(
        screen=XScreen,
        command=["mate-panel"],
        configure=configure_mate,
        themes=("default", "BlackMATE"),
        colours=("light",),
        switch_theme=switch_mate,
        has_accessible_icons=True,
        bar=lambda width, height: Box(0, 0, width, 26),
        companions=(["openbox"], XFSETTINGSD),
        wait_for_companions=wait_for_xsettings,
        handle=11,
        environment={"XDG_CURRENT_DESKTOP": "MATE"},
    ),
}
