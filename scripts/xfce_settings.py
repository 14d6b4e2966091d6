"""Settings of xfce4-panel, and of xfsettingsd, which gives GTK its theme."""

from typing import NamedTuple

from servers import wait_for

XFSETTINGSD = ["xfsettingsd", "--no-daemon", "--disable-wm-check"]  # gives GTK its theme


class XfceLook(NamedTuple):
    theme: str  # GTK's
    is_dark: bool = False  # the panel's dark mode
    grey: float = None  # of the background that the user set; None: the theme's


XFCE_LOOKS = {
    "dark": XfceLook("Adwaita", is_dark=True),
    "light": XfceLook("Adwaita"),
    "Menta": XfceLook("Menta"),  # with transitions, as BlackMATE
    "BlackMATE": XfceLook("BlackMATE"),
    "Arc": XfceLook("Arc"),
    "#fefefe": XfceLook("Adwaita", is_dark=True, grey=0.996),
    "#010101": XfceLook("Adwaita", grey=0.004),
}


def configure_xsettings(session, theme, icons="Adwaita"):
    """For xfsettingsd."""
    session.write(
        "xfce4/xfconf/xfce-perchannel-xml/xsettings.xml",
        f"""<channel name="xsettings" version="1.0">
  <property name="Net" type="empty">
    <property name="ThemeName" type="string" value="{theme}"/>
    <property name="IconThemeName" type="string" value="{icons}"/>
  </property>
</channel>
""",
    )


def wait_for_xsettings(session):
    """GTK follows no xfsettingsd that starts after it. The X resources are the last that xfsettingsd sets."""
    wait_for(lambda: "Xft" in session.run(["xrdb", "-query"]), "xfsettingsd")


def set_xfconf(session, channel, name, kind, *values):
    words = ["xfconf-query", "-c", channel, "-p", name, "-n", *(["-a"] if len(values) > 1 else [])]
    session.run([*words, *(word for value in values for word in ("-t", kind, "-s", value))])


def configure_xfce(session, tray="systray"):
    configure_xsettings(session, XFCE_LOOKS[session.theme].theme)
    plugins = [tray]
    if session.has_neighbours:
        plugins = ["separator", "showdesktop", "directorymenu", "windowmenu", "clock", *plugins]
    ids = "".join(f'<value type="int" value="{number}"/>' for number, _ in enumerate(plugins, 1))
    kinds = "".join(f'''
    <property name="plugin-{number}" type="string" value="{plugin}">
      <property name="square-icons" type="bool" value="true"/>
      <property name="expand" type="bool" value="true"/>
    </property>''' for number, plugin in enumerate(plugins, 1))
    session.write(
        "xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml",
        f"""<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="{str(XFCE_LOOKS[session.theme].is_dark).lower()}"/>
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


def switch_xfce(session, look):
    theme, is_dark, grey = XFCE_LOOKS[look]
    set_xfconf(session, "xsettings", "/Net/ThemeName", "string", theme)
    set_xfconf(session, "xfce4-panel", "/panels/dark-mode", "bool", str(is_dark).lower())
    if grey is not None:
        set_xfconf(session, "xfce4-panel", "/panels/panel-1/background-rgba", "double", *[str(grey)] * 3, "1")
    set_xfconf(session, "xfce4-panel", "/panels/panel-1/background-style", "uint", "0" if grey is None else "1")
