"""Bars with an XEmbed tray and no watcher, which quill-tray-xembed serves; as PANELS in panels.py."""

import re
from pathlib import Path

from panels import Panel
from pictures import Box
from screens import XScreen

COLOURS = {"dark": ("#222222", "#dddddd"), "light": ("#eeeeee", "#222222")}  # bar, text


def configure_i3bar(session):
    """The session starts the bar itself, so that the bar can end while i3 runs."""
    bar, text = COLOURS[session.look]
    settings = f"id bar\ni3bar_command true\ncolors {{\nbackground {bar}\nstatusline {text}\n}}"
    session.write("i3/config", f"# i3 config file (v4)\nfont pango:Sans 10\nbar {{\n{settings}\n}}\n")


def configure_polybar(session):
    bar, text = COLOURS[session.look]
    colours = f"background = {bar}\ntray-background = {bar}\ntray-foreground = {text}\n"
    bar = f"[bar/bar]\nheight = 24\ntray-position = right\nmodules-left = text\n{colours}"
    session.write("polybar/config.ini", bar + "[module/text]\ntype = custom/text\ncontent = bar\n")


def configure_tint2(session):
    style = Path(f"/usr/share/tint2/horizontal-{session.look}-opaque.tint2rc").read_text(encoding="utf-8")
    session.write("tint2/tint2rc", re.sub("^panel_items = .*", "panel_items = TS", style, flags=re.MULTILINE))


def configure_icewm(session):
    hidden = ("Clock", "CPUStatus", "NetStatus", "MEMStatus", "APMStatus", "MailboxStatus")
    settings = "".join(f"TaskBarShow{name}=0\n" for name in hidden)
    session.write("icewm/prefoverride", 'ColorDefaultTaskBar="#222222"\n' + settings)


def configure_lxpanel(session):
    bar = "edge=bottom\nwidthtype=percent\nwidth=100\nheight=26\nsetdocktype=1\nsetpartialstrut=1\n"
    bar += "transparent=1\ntintcolor=#222222\nalpha=255\n"
    session.write("lxpanel/bar/config", "[Command]\n")
    session.write(
        "lxpanel/bar/panels/panel",
        f"Global {{\n{bar}}}\nPlugin {{\ntype=space\nexpand=1\nConfig {{\nSize=2\n}}\n}}\nPlugin {{\ntype=tray\n}}\n",
    )


def restart(session, theme):
    session.look = theme
    session.panel.configure(session)
    session.kill_panel()
    session.start_panel()


def bar(command, configure, height, is_at_top=False, **options):
    """`height` leaves out the rows beside the icons, over which GTK's menu may begin.

    Without a window manager unless the bar needs one, because a starting openbox at times hides trayer and lxpanel.
    """
    return Panel(
        screen=XScreen,
        command=command,
        configure=configure,
        bar=lambda width, bottom: Box(0, 0, width, height) if is_at_top else Box(0, bottom - height, width, bottom),
        has_xembed_tray=True,
        switch_theme=restart,
        **options,
    )


TRAYER = "trayer --edge bottom --widthtype percent --width 100 --height 24 --transparent true --alpha 0 --tint 0x222222"
I3BAR = ["sh", "-c", "until i3-msg reload; do sleep 0.1; done; exec i3bar --bar_id=bar"]
OPENBOX = (["openbox"],)
BARS = {
    "i3bar": bar(I3BAR, configure_i3bar, 20, companions=(["i3"],), themes=("dark", "light")),
    "polybar": bar(["polybar", "bar"], configure_polybar, 21, True, companions=OPENBOX, themes=("dark", "light")),
    "tint2": bar(["tint2"], configure_tint2, 30, companions=OPENBOX, themes=("dark", "light")),
    "trayer": bar(TRAYER.split(), lambda _: None, 23),
    "icewm": bar(["icewm"], configure_icewm, 24),
    "lxpanel": bar(["lxpanel", "--profile", "bar"], configure_lxpanel, 24),
}
