"""A private desktop session with one real panel in it, driven from outside.

    with PanelSession("xfce4-panel", theme="dark") as session:
        host = session.start_host(["build/release/examples/example_c"])
        icon = session.wait_for_icon()
        session.click(LEFT, icon.box.centre)
        host.expect("clicked")

Everything lives below one temporary directory: home, XDG directories, the session bus, the display. Nothing of
the user's own session is read or changed, and every process of the session ends with it. Times are in seconds,
places in pixels from the screen's top left.
"""

import contextlib
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile

from bars import BARS
from desktops import DESKTOPS
from panels import PANELS
from pictures import Box, changed_box, main_colour
from screens import LEFT  # noqa: F401
from servers import DEADLINE, start_bus, wait_for
from session_host import Host
from session_user import SessionUser

WATCHER = "org.kde.StatusNotifierWatcher"
UNPRIVILEGED = 65534  # nobody: any user but root will do whom the bus finds among the system's users
ACCESSIBLE = {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}  # GTK asks the bus
NOT_ACCESSIBLE = {"NO_AT_BRIDGE": "1", "GTK_A11Y": "none"}


class NotInstalled(Exception):
    """A program that this panel needs is missing."""


class PanelSession(SessionUser):
    def __init__(self, panel, theme=None, size=(800, 480), has_neighbours=False):
        """`has_neighbours`: some of the panel's own icons are beside the tray."""
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
        self._children = []
        self.empty = None  # the screen before there was an item
        # A compositor or a shell that refuses root gets another user, who may still read what root may.
        self._prefix = ["setpriv", "--pdeathsig", "KILL"]
        self._other_user = (self.screen.refuses_root or self.panel.refuses_root) and os.getuid() == 0
        if self._other_user:
            self._prefix += [f"--reuid={UNPRIVILEGED}", f"--regid={UNPRIVILEGED}", "--clear-groups"]
            self._prefix += ["--inh-caps=+dac_override", "--ambient-caps=+dac_override"]

    # The life of the session

    def __enter__(self):
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="tray-session-"))
        try:
            self._start()
        except BaseException:
            self.stop()
            raise
        return self

    def __exit__(self, *_):
        self.stop()

    def _start(self):
        self.environment = {
            "PATH": os.environ["PATH"],
            "LANG": "C.UTF-8",
            "LC_ALL": "C.UTF-8",
            **(ACCESSIBLE if self.panel.has_accessible_icons else NOT_ACCESSIBLE),
            "GIO_USE_VFS": "local",
            "GSETTINGS_BACKEND": "keyfile",
            **self.panel.environment,
        }
        for variable, name in (
            ("HOME", "home"),
            ("XDG_CONFIG_HOME", "config"),
            ("XDG_DATA_HOME", "data"),
            ("XDG_CACHE_HOME", "cache"),
            ("XDG_STATE_HOME", "state"),
            ("XDG_RUNTIME_DIR", "run"),
        ):
            (self.directory / name).mkdir(mode=0o700)
            self.environment[variable] = str(self.directory / name)
        self.panel.configure(self)
        if self._other_user:
            for path in (self.directory, *self.directory.rglob("*")):
                os.chown(path, UNPRIVILEGED, UNPRIVILEGED)
        if self.screen.needs_bus:
            self._start_bus()
            self.screen.start(self)
            # What the bus starts belongs to the session as well.
            self.run(["dbus-update-activation-environment", *(f"{name}={value}" for name, value in self.environment.items())])
        else:
            self.screen.start(self)
            self._start_bus()
        for words in self.panel.companions:
            self.spawn(words)
        self.panel.wait_for_companions(self)
        self.screen.move(*self.aside)
        self.start_panel()
        self.empty = self.settled()

    def _start_bus(self):
        if self.panel.has_xembed_tray:
            service = self.directory / "data/dbus-1/services/quill-tray-xembed.service"
            service.parent.mkdir(parents=True)
            service.write_text(f"[D-BUS Service]\nName=org.quill.TrayXEmbed\nExec={os.environ['TRAY_XEMBED']}\n")
        if self.panel.has_system_bus:
            _, self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = start_bus(self.spawn)
        _, self.environment["DBUS_SESSION_BUS_ADDRESS"] = start_bus(self.spawn)
        if self.panel.has_accessible_icons:
            self.spawn(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"])
            wait_for(lambda: self.name_has_owner("org.a11y.Bus"), "accessibility bus")

    def stop(self):
        """Ends every process that was started in this session, by it or by others, and removes its files."""
        self.screen.stop()
        for end in (signal.SIGTERM, signal.SIGKILL):
            for pid in self.processes():
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, end)
            with contextlib.suppress(TimeoutError):
                wait_for(lambda: not self.processes(), "end of the session", 2)
        for child in self._children:
            child.wait()
        shutil.rmtree(self.directory, ignore_errors=True)

    def processes(self):
        """Processes that carry this session's runtime directory in their environment; zombies carry nothing."""
        mark = b"XDG_RUNTIME_DIR=" + str(self.directory / "run").encode() + b"\0"
        found = []
        for environment in pathlib.Path("/proc").glob("[0-9]*/environ"):
            with contextlib.suppress(OSError):
                if mark in environment.read_bytes():
                    found.append(int(environment.parent.name))
        return found

    def write(self, name, text):
        """A file below the session's configuration directory, replaced as a whole: nobody reads a part."""
        path = self.directory / "config" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        part = path.with_name(path.name + ".part")
        part.write_text(text, encoding="utf-8")
        part.replace(path)

    def prefix(self, words):
        """A command as it is run in the session: by its user, and ended with this process."""
        return [*self._prefix, *map(str, words)]

    def spawn(self, words, **options):
        """Starts a command in the session; what it prints goes to the session's own log."""
        with open(self.directory / "log", "ab") as log:
            options = {"stdin": subprocess.DEVNULL, "stdout": log, "stderr": log, **options}
            child = subprocess.Popen(self.prefix(words), env=self.environment, **options)
        self._children.append(child)
        return child

    def run(self, words):
        """Runs a command in the session to its end; its standard output. Its errors go to the log."""
        options = {"check": True, "timeout": DEADLINE, "stdout": subprocess.PIPE, "encoding": "utf-8"}
        with open(self.directory / "log", "ab") as log:
            return subprocess.run(self.prefix(words), env=self.environment, stderr=log, **options).stdout

    def accessible_names(self):
        """The names and descriptions that a screen reader can read."""
        return self.run(["/usr/bin/python3", "-B", pathlib.Path(__file__).with_name("accessible_names.py")]).splitlines()

    # The panel and the host

    def name_has_owner(self, name):
        bus = ["dbus-send", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus"]
        return "true" in self.run([*bus, "org.freedesktop.DBus.NameHasOwner", "string:" + name])

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

    def start_host(self, words, environment=None):
        process = subprocess.Popen(
            self.prefix(words),
            env={**self.environment, **(environment or {})},
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            encoding="utf-8",
        )
        self._children.append(process)
        return Host(process)

    def start_item(self, build, icon):
        """The tests' own host, with an icon from that file."""
        host = self.start_host([build / "tests/panel/panel_host"])
        host.tell("create")
        host.tell(f"icon {icon}")
        return host
