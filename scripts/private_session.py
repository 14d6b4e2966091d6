"""A private session: a session bus, and processes that know of no other.

Everything lives below one temporary directory: home, XDG directories, the bus. The user's own session is neither read
nor changed, and every process of the session ends with it.
"""

import contextlib
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile

from servers import DEADLINE, start_bus, wait_for
from session_host import Host

NOT_ACCESSIBLE = {"NO_AT_BRIDGE": "1", "GTK_A11Y": "none"}


class PrivateSession:
    runner = ("setpriv", "--pdeathsig", "KILL")  # what each command is started by, so that it ends with this process

    def __init__(self):
        self._children = []

    def __enter__(self):
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="tray-session-"))
        self.environment = {
            "PATH": os.environ["PATH"],
            "LANG": "C.UTF-8",
            "LC_ALL": "C.UTF-8",
            **NOT_ACCESSIBLE,
            "GIO_USE_VFS": "local",
            "GSETTINGS_BACKEND": "keyfile",
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
        try:
            self.start()
        except BaseException:
            print(self.log_tail())
            self.stop()
            raise
        return self

    def __exit__(self, *_):
        self.stop()

    def start(self):
        """A derived class starts more."""
        self.bus = self.start_bus()

    def start_bus(self, kind="SESSION"):
        """Starts a bus; its address is the same each time."""
        address = f"unix:path={self.directory}/run/{kind.lower()}-bus"
        self.environment[f"DBUS_{kind}_BUS_ADDRESS"] = address
        return start_bus(self.spawn, address)

    def stop(self):
        """Ends every process that was started in this session, by it or by others, and removes its files."""
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

    def prefix(self, words):
        """A command as it is run in the session."""
        return [*self.runner, *map(str, words)]

    def spawn(self, words, **options):
        """Starts a command in the session; what it prints goes to the session's own log."""
        with open(self.directory / "log", "ab") as log:
            options = {"stdin": subprocess.DEVNULL, "stdout": log, "stderr": log, "env": self.environment, **options}
            child = subprocess.Popen(self.prefix(words), **options)
        self._children.append(child)
        return child

    def run(self, words):
        """Runs a command in the session to its end; its standard output. Its errors go to the log."""
        options = {"check": True, "timeout": DEADLINE, "stdout": subprocess.PIPE, "encoding": "utf-8"}
        with open(self.directory / "log", "ab") as log:
            return subprocess.run(self.prefix(words), env=self.environment, stderr=log, **options).stdout

    def log_tail(self):
        return (self.directory / "log").read_text(encoding="utf-8", errors="replace")[-1000:]

    def start_host(self, words, environment=None, lines="stdout"):
        """Starts a program whose `lines` can be waited for."""
        pipes = {"stdin": subprocess.PIPE, "stderr": None, lines: subprocess.PIPE, "encoding": "utf-8"}
        return Host(self.spawn(words, env={**self.environment, **(environment or {})}, **pipes))

    def start_watcher(self):
        """Starts a watcher that reads each item as a panel does."""
        watcher = self.start_host(["/usr/bin/python3", "-B", pathlib.Path(__file__).with_name("watcher.py")])
        watcher.hear("ready")
        return watcher

    def name_has_owner(self, name):
        bus = ["dbus-send", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus"]
        return "true" in self.run([*bus, "org.freedesktop.DBus.NameHasOwner", "string:" + name])
