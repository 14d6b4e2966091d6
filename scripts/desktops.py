"""The desktops whose packages are large: Plasma, GNOME and Cinnamon, each with a tray and little else."""

import shutil
from dataclasses import replace

from panels import Panel, gtk_settings
from PIL import Image
from pictures import Box, changed_box, main_colour
from screens import XScreen
from servers import wait_for
from wayland_screens import KWinScreen, ShellScreen

PLASMA = "6" if shutil.which("kded6") else "5"
SOFTWARE = {"LIBGL_ALWAYS_SOFTWARE": "1"}
X11 = {"XDG_SESSION_TYPE": "x11", **SOFTWARE}
WAYLAND = {"XDG_SESSION_TYPE": "wayland", **SOFTWARE}
KDE = {"XDG_CURRENT_DESKTOP": "KDE", "KDE_FULL_SESSION": "true", "KDE_SESSION_VERSION": PLASMA}
KDE["XDG_MENU_PREFIX"] = {"5": "kf5-", "6": "plasma-"}[PLASMA]
GNOME_DESK = "#406020"  # unlike the screen without a shell
GLOBAL_THEMES = {  # colour scheme of applications, style of the shell
    "breeze": ("BreezeLight", "default"),
    "breezedark": ("BreezeDark", "default"),
    "breezetwilight": ("BreezeLight", "breeze-dark"),
}
ACTIVITY = "6a5c9f5e-0000-4000-8000-000000000001"  # whose desktop it is
PLASMA_LAYOUT = f"""[ActionPlugins][0]

[Containments][1]
activityId={ACTIVITY}
plugin=org.kde.plasma.folder
wallpaperplugin=org.kde.color
formfactor=0
lastScreen=0
location=0

[Containments][2]
plugin=org.kde.panel
formfactor=2
lastScreen=0
location=4

[Containments][2][General]
AppletOrder=5;3;6

[Containments][2][Applets][5]
plugin=org.kde.plasma.panelspacer

[Containments][2][Applets][3]
plugin=org.kde.plasma.systemtray

[Containments][2][Applets][3][Configuration]
SystrayContainmentId=4

[Containments][4]
plugin=org.kde.plasma.private.systemtray
formfactor=2
lastScreen=0
location=4

[Containments][4][General]
extraItems=ITEMS
knownItems=KNOWN
shownItems=ITEMS
"""
NEIGHBOURS = ("clipboard", "notifications", "keyboardlayout")
# What the tray does not know yet it adds by itself.
KNOWN = (*NEIGHBOURS, "battery", "bluetooth", "brightness", "cameraindicator", "devicenotifier", "keyboardindicator")
KNOWN += ("manage-inputmethod", "mediacontroller", "networkmanagement", "volume")
PLASMA_CLOCK = """
[Containments][2][Applets][6]
plugin=org.kde.plasma.digitalclock
"""


def configure_plasma(session):
    """A global theme's settings are defaults in a folder of their own, as its session has it."""
    session.environment["XDG_CONFIG_DIRS"] = f"{session.directory}/config/kdedefaults:/etc/xdg"
    scheme, style = GLOBAL_THEMES[session.theme]
    with open(f"/usr/share/color-schemes/{scheme}.colors", encoding="utf-8") as colours:
        session.write("kdedefaults/kdeglobals", f"{colours.read()}\n[Icons]\nTheme=breeze\n")
    session.write("kdedefaults/plasmarc", f"[Theme]\nname={style}\n")
    session.write("kdeglobals", f"[KDE]\nLookAndFeelPackage=org.kde.{session.theme}.desktop\n")
    session.write("plasmashellrc", "[PlasmaViews][Panel 2]\nfloating=0\npanelOpacity=1\n")
    activities = f"[activities]\n{ACTIVITY}=Default\n\n[main]\ncurrentActivity={ACTIVITY}\n"
    session.write("kactivitymanagerdrc", activities)
    layout = PLASMA_LAYOUT + (PLASMA_CLOCK if session.has_neighbours else "")
    for place, names in (("ITEMS", NEIGHBOURS if session.has_neighbours else ()), ("KNOWN", KNOWN)):
        layout = layout.replace(place, ",".join(f"org.kde.plasma.{name}" for name in names))
    session.write("plasma-org.kde.plasma.desktop-appletsrc", layout)


def wait_for_bar(session):
    """The desktop is there before its bar."""
    session.settled(lambda now: main_colour(now, session.bar) != main_colour(now, session.desk), "bar", 60)


def switch_plasma(session, theme):
    """As the user switches a global theme or, where that is all that differs, the colour scheme."""
    scheme, style = GLOBAL_THEMES[theme]
    if style == GLOBAL_THEMES[session.look][1]:
        session.run(["plasma-apply-colorscheme", scheme])
        return
    session.run(["plasma-apply-desktoptheme", style])  # apply-lookandfeel signals no change of it
    session.run(["plasma-apply-lookandfeel", "--apply", f"org.kde.{theme}.desktop"])


def write_gnome(session, theme):
    sources = [("xkb", "us"), ("xkb", "de")] if session.has_neighbours else [("xkb", "us")]
    session.write(
        "glib-2.0/settings/keyfile",
        f"""[org/gnome/shell]
enabled-extensions=['ubuntu-appindicators@ubuntu.com']
disable-extension-version-validation=true
welcome-dialog-last-shown-version='999'

[org/gnome/desktop/interface]
enable-animations=false
color-scheme='{theme}'

[org/gnome/desktop/input-sources]
sources={sources}

[org/gnome/desktop/notifications]
show-banners=false

[org/gnome/desktop/background]
picture-options='none'
primary-color='{GNOME_DESK}'
""",
    )


def leave_overview(session):
    """The shell starts in it, at a moment of its own, and draws what is in its bar last."""
    bare = Image.new("RGB", session.size, GNOME_DESK)
    shell = ["gdbus", "call", "--session", "--dest", "org.gnome.Shell", "--object-path", "/org/gnome/Shell", "--method"]

    def has_left():
        session.run([*shell, "org.freedesktop.DBus.Properties.Set", "org.gnome.Shell", "OverviewActive", "<false>"])
        now = session.picture()
        is_bar_empty = all(low == high for low, high in now.crop(session.bar).getextrema())
        return not is_bar_empty and not changed_box(bare, now, session.desk)

    wait_for(has_left, "shell outside of its overview", 60, pause=0.5)


def write_cinnamon(session, theme):
    names = ["show-desktop", "a11y", "notifications", "trash", "calendar"] if session.has_neighbours else []
    applets = [("xapp-status", 0), *((name, place) for place, name in enumerate(names, 1))]
    enabled = [f"panel1:right:{place}:{name}@cinnamon.org:{place}" for name, place in applets]
    session.write(
        "glib-2.0/settings/keyfile",
        f"""[org/cinnamon]
desktop-effects=false
enabled-applets={enabled}

[org/cinnamon/theme]
name='{theme}'
""",
    )


def configure_cinnamon(session):
    gtk_settings(session, "Adwaita")
    write_cinnamon(session, session.theme)


def configure_budgie(session):
    """A bar with the tray at its end; the panel would make more of them, with a clock."""
    gtk_settings(session, "Adwaita")
    names = ["Show Desktop Button", "Places", "Trash Bin"] if session.has_neighbours else []
    names = [*names, "System Tray", *(["Clock"] if session.has_neighbours else [])]
    ids = [f"00000000-0000-4000-8000-00000000000{number}" for number in range(len(names) + 1)]
    applets = "".join(
        f"""
[com/solus-project/budgie-panel/applets/{{{identity}}}]
name='{name}'
alignment='end'
position={place}
"""
        for place, (name, identity) in enumerate(zip(names, ids))
    )
    session.write(
        "glib-2.0/settings/keyfile",
        f"""[com/solus-project/budgie-panel]
panels=['{ids[-1]}']
migration-level=9

[com/solus-project/budgie-panel/panels/{{{ids[-1]}}}]
location='bottom'
size=36
enable-shadow=false
applets={ids[:-1]}
{applets}""",
    )


DESKTOPS = {
    "plasma": Panel(
        screen=XScreen,
        command=["plasmashell", "--no-respawn"],
        configure=configure_plasma,
        bar=lambda width, height: Box(0, height - 30, width, height),
        themes=tuple(GLOBAL_THEMES),
        alike=("breezedark", "breezetwilight"),
        switch_theme=switch_plasma,
        started=wait_for_bar,
        companions=([f"kded{PLASMA}"], ["kwin_x11", "--no-kactivities"]),
        environment={**X11, **KDE, "QT_QUICK_BACKEND": "software", "KWIN_COMPOSE": "N"},
    ),
    "gnome": Panel(
        screen=XScreen,
        command=["gnome-shell", "--x11"],
        configure=lambda session: write_gnome(session, session.theme),
        bar=lambda width, height: Box(width // 2 + 120, 0, width, 32),
        themes=("default", "prefer-dark"),
        alike=("default", "prefer-dark"),
        switch_theme=write_gnome,
        has_system_bus=True,
        started=leave_overview,
        refuses_root=True,
        environment={**X11, "XDG_CURRENT_DESKTOP": "GNOME"},
    ),
    "cinnamon": Panel(
        screen=XScreen,
        command=["cinnamon"],
        configure=configure_cinnamon,
        bar=lambda width, height: Box(0, height - 40, width, height),
        themes=("cinnamon",),
        switch_theme=write_cinnamon,
        started=wait_for_bar,
        has_system_bus=True,
        companions=(["gio", "launch", "/etc/xdg/autostart/xapp-sn-watcher.desktop"],),
        environment={**X11, "XDG_CURRENT_DESKTOP": "X-Cinnamon", "CINNAMON_2D": "1"},
    ),
    "budgie": Panel(
        screen=XScreen,
        command=["budgie-panel"],
        watcher=["budgie-daemon"],
        also_needs=("budgie-session",),  # which Budgie 10.7 of Debian 12 lacks, as it shows no items
        configure=configure_budgie,
        bar=lambda width, height: Box(0, height - 36, width, height),
        started=wait_for_bar,
        has_system_bus=True,
        companions=(["openbox"],),
        environment={**X11, "XDG_CURRENT_DESKTOP": "Budgie:GNOME"},
    ),
}
# The same in Wayland sessions, which Debian starts.
DESKTOPS["plasma-wayland"] = replace(
    DESKTOPS["plasma"],
    screen=KWinScreen,
    menu_border=8,
    companions=([f"kded{PLASMA}"],),
    environment={**WAYLAND, **KDE},
)
DESKTOPS["gnome-wayland"] = replace(
    DESKTOPS["gnome"],
    screen=ShellScreen,
    menu_border=8,
    clicks=2,
    command=ShellScreen.command,
    environment={**WAYLAND, "XDG_CURRENT_DESKTOP": "GNOME"},
)
