"""A private desktop session with one real panel in it, driven from outside.

    with PanelSession("xfce4-panel", theme="dark") as session:
        host = session.start_host(["build/release/examples/example_c"])
        icon = session.wait_for_icon()
        session.click(LEFT, icon.box.centre)
        host.expect("clicked")

Times are in seconds, places in pixels from the screen's top left.
"""

import os
import pathlib
import shutil

from bars import BARS
from desktops import DESKTOPS
from panels import PANELS
from pictures import Box, changed_box, main_colour
from private_session import NOT_ACCESSIBLE, PrivateSession
from screens import LEFT  # noqa: F401
from servers import DEADLINE, wait_for
from session_user import SessionUser

WATCHER = "org.kde.StatusNotifierWatcher"
UNPRIVILEGED = 65534  # nobody: any user but root will do whom the bus finds among the system's users


class NotInstalled(Exception):
    """A program that this panel needs is missing."""


class PanelSession(SessionUser, PrivateSession):
    def __init__(self, panel, theme=None, size=(800, 480), has_neighbours=False):
        """`has_neighbours`: some of the panel's own icons are beside the tray."""
        super().__init__()
        self.name = panel
        self.has_neighbours = has_neighbours
        self.panel = {**PANELS, **DESKTOPS, **BARS}[panel]
        self.theme = self.look = theme or self.panel.themes[0]  # at first, and now
        self.size = size
        missing = [program for program in self.panel.programs if not shutil.which(program)]
        if missing:
            raise NotInstalled(", ".join(missing))
        self.bar = self.panel.bar(*size)
        self.icons = self.bar._replace(left=self.bar.left + self.panel.handle)
        self.desk = Box(0, 0, size[0], self.bar.top) if self.bar.top else Box(0, self.bar.bottom, *size)
        self.aside = self.desk.centre
        self.screen = self.panel.screen()
        self.panel_process = None
        self.empty = None  # the screen before there was an item
        # A compositor or a shell that refuses root gets another user, who may still read what root may.
        self._other_user = (self.screen.refuses_root or self.panel.refuses_root) and os.getuid() == 0
        if self._other_user:
            self.runner += (f"--reuid={UNPRIVILEGED}", f"--regid={UNPRIVILEGED}", "--clear-groups")
            self.runner += ("--inh-caps=+dac_override", "--ambient-caps=+dac_override")

    # The life of the session

    def start(self):
        if self.panel.has_accessible_icons:  # GTK asks the bus
            self.environment = {name: value for name, value in self.environment.items() if name not in NOT_ACCESSIBLE}
            self.environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
        self.environment.update(self.panel.environment)
        self.panel.configure(self)
        if self._other_user:
            for path in (self.directory, *self.directory.rglob("*")):
                os.chown(path, UNPRIVILEGED, UNPRIVILEGED)
        if self.screen.needs_bus:
            self.start_buses()
            self.screen.start(self)
            # What the bus starts belongs to the session as well.
            variables = (f"{name}={value}" for name, value in self.environment.items())
            self.run(["dbus-update-activation-environment", *variables])
        else:
            self.screen.start(self)
            self.start_buses()
        for words in self.panel.companions:
            self.spawn(words)
        self.panel.wait_for_companions(self)
        self.screen.move(*self.aside)
        self.start_panel()
        self.empty = self.settled()

    def start_buses(self):
        if self.panel.has_xembed_tray:
            service = self.directory / "data/dbus-1/services/quill-tray-xembed.service"
            service.parent.mkdir(parents=True)
            service.write_text(f"[D-BUS Service]\nName=org.quill.TrayXEmbed\nExec={os.environ['TRAY_XEMBED']}\n")
        if self.panel.has_system_bus:
            self.start_bus("SYSTEM")
        self.start_bus()
        if self.panel.has_accessible_icons:
            self.spawn(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"])
            wait_for(lambda: self.name_has_owner("org.a11y.Bus"), "accessibility bus")

    def stop(self):
        self.screen.stop()
        super().stop()

    def write(self, name, text):
        """Replaces a file below the session's configuration directory as a whole, so that no program reads a part."""
        path = self.directory / "config" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        part = path.with_name(path.name + ".part")
        part.write_text(text, encoding="utf-8")
        part.replace(path)

    def accessible_names(self):
        """The names and descriptions that a screen reader can read."""
        return self.run(["/usr/bin/python3", "-B", pathlib.Path(__file__).with_name("accessible_names.py")]).splitlines()

    # The panel and the host

    def start_panel(self):
        """Starts the panel and waits until it takes items and its bar is drawn."""
        bare = self.picture()
        self.panel_process = self.spawn([word.format(*self.size) for word in self.panel.command])
        self._panel_processes = [self.panel_process, *([self.spawn(self.panel.watcher)] if self.panel.watcher else [])]
        if not self.panel.has_xembed_tray:
            wait_for(lambda: self.name_has_owner(WATCHER), f"watcher by {self.panel.command[0]}", 3 * DEADLINE)
        self.panel.started(self)

        def drawn():
            box = changed_box(bare, self.picture())
            return box is not None and box.width == bare.width

        wait_for(drawn, "bar")

    def kill_panel(self):
        """Ends the panel at once, as a crash would."""
        before = self.picture()
        for process in self._panel_processes:
            process.kill()
            process.wait()
        wait_for(lambda: not self.name_has_owner(WATCHER), "end of the watcher")
        if self.panel.has_xembed_tray:
            wait_for(lambda: changed_box(before, self.picture(), self.bar), "end of the bar")

    def switch_theme(self, theme):
        """Gives the running panel another look and waits until its bar shows it."""
        before = main_colour(self.picture(), self.bar)
        stays = theme in self.panel.alike and self.look in self.panel.alike
        self.panel.switch_theme(self, theme)
        self.look = theme
        self.settled(lambda picture: stays or main_colour(picture, self.bar) != before, f"{theme} bar")

    def start_item(self, build, icon):
        """The tests' own host, with an icon from that file."""
        host = self.start_host([build / "tests/panel/panel_host"])
        host.tell("create")
        host.tell(f"icon {icon}")
        return host
