"""The panels that a session can have, and how each is brought up with a tray in it and nothing else that moves."""

import signal
from dataclasses import dataclass, field
from typing import Callable

from pictures import Box
from screens import LEFT, RIGHT, SwayScreen, XScreen

INDICATORS = "/usr/libexec/ayatana-indicator-application/ayatana-indicator-application-service"


@dataclass(frozen=True)
class Panel:
    """How to bring a panel up with a tray in it and nothing else that moves."""

    screen: type
    command: list
    configure: Callable  # (session): writes configuration files
    bar: Callable  # (width, height) of the screen: the bar's box
    themes: tuple = ("default",)
    colours: tuple = ()  # further themes that are a bar of one colour
    companions: tuple = ()  # commands that run beside it, such as a window manager
    watcher: list = field(default_factory=list)  # a command that runs and ends with the panel
    environment: dict = field(default_factory=dict)
    handle: int = 0  # columns at the bar's start in which the tray may paint a handle at any time
    has_accessible_icons: bool = False  # shows its icons in the session's accessibility tree
    padding: int = 0  # columns beside the icons that the panel paints only while it has icons
    switch_theme: Callable = None  # (session, theme), while the panel runs
    alike: tuple = ()  # the themes whose bars are of one colour
    started: Callable = lambda session: None  # what is left to do once the watcher is there
    refuses_root: bool = False
    menu_button: int = RIGHT  # opens the item's menu; where it is LEFT, no click reaches the host
    has_system_bus: bool = False  # asks for one, and gets one on which there is nobody

    @property
    def programs(self):
        commands = (self.command, *self.companions, *filter(None, [self.watcher]))
        return (*self.screen.programs, "dbus-daemon", *(words[0] for words in commands))


def gtk_settings(session, theme, icons="Adwaita"):
    session.write("gtk-3.0/settings.ini", f"[Settings]\ngtk-theme-name={theme}\ngtk-icon-theme-name={icons}\n")


def configure_xfce(session, tray="systray"):
    gtk_settings(session, "Adwaita")
    plugins = [tray]
    if session.has_neighbours:
        plugins = ["showdesktop", "directorymenu", *plugins, "windowmenu", "clock"]
    ids = "".join(f'<value type="int" value="{number}"/>' for number, _ in enumerate(plugins, 1))
    kinds = "".join(f'''
    <property name="plugin-{number}" type="string" value="{plugin}">
      <property name="square-icons" type="bool" value="true"/>
    </property>''' for number, plugin in enumerate(plugins, 1))
    session.write(
        "xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml",
        f"""<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="{str(session.theme == "dark").lower()}"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="32"/>
      <property name="plugin-ids" type="array">{ids}</property>
    </property>
  </property>
  <property name="plugins" type="empty">{kinds}
  </property>
</channel>
""",
    )


def switch_xfce(session, theme):
    session.run(["xfconf-query", "-c", "xfce4-panel", "-p", "/panels/dark-mode", "-s", str(theme == "dark").lower()])


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
    look = {"default": "Clearlooks"}.get(theme, theme)
    session.write("lxqt/lxqt.conf", f"[General]\ntheme={look}\nicon_theme=Adwaita\n")


def configure_lxqt(session):
    switch_lxqt(session, session.theme)
    plugins = "statusnotifier"
    if session.has_neighbours:
        plugins = f"showdesktop, directorymenu, {plugins}, mount, worldclock"
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
plugins={plugins}

[statusnotifier]
type=statusnotifier
alignment=Right

[showdesktop]
type=showdesktop
alignment=Right

[directorymenu]
type=directorymenu
alignment=Right

[mount]
type=mount
alignment=Right

[worldclock]
type=worldclock
alignment=Right
""",
    )


def configure_mate(session):
    gtk_settings(session, "Menta", "menta")
    switch_mate(session, session.theme)


def switch_mate(session, theme):
    """The default theme's background, or a dark one."""
    background = {"default": "none"}.get(theme, "color")
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
expand=true
size=26
{settings}
[org/mate/panel/toplevels/bar/background]
type='{background}'
color='rgb(24,24,28)'
""",
    )


PANELS = {
    "xfce4-panel": Panel(
        screen=XScreen,
        command=["xfce4-panel", "--disable-wm-check"],
        configure=configure_xfce,
        bar=lambda width, height: Box(0, 0, width, 32),
        themes=("dark", "light"),
        switch_theme=switch_xfce,
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
        themes=("default", "dark"),
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
        themes=("default", "dark"),
        switch_theme=switch_mate,
        has_accessible_icons=True,
        bar=lambda width, height: Box(0, 0, width, 26),
        companions=(["openbox"],),
        handle=11,
        environment={"XDG_CURRENT_DESKTOP": "MATE"},
    ),
}
