"""A long life and many restarts, counted: soak.py BUILD_DIRECTORY [quick].

One host goes on through all of it, in a session with a real panel, then on a bus that dies. After a first cycle
its memory stays within KEPT, and its file descriptors and match rules are as they were. Times are in seconds.
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

from panel_session import Host, NotInstalled, PanelSession
from PIL import Image, ImageDraw
from servers import start_bus, wait_for

KEPT = 256  # KiB
TICK = 0.035
FRAMES = 30


LOG = "Library/Application Support/com.orvi.tamble/.logs/native.log"


class Log:
    """A host's log. Lines that wait for the disk take memory, which is no part of what is held for long."""

    def __init__(self, host, home):
        self.host = host
        self.lines = 0
        wait_for((home / LOG).exists, "log")
        self.file = open(home / LOG, "rb")

    def settle(self):
        def is_written():
            self.lines += self.file.read().count(b"\n")
            return self.lines >= len(self.host.log)

        wait_for(is_written, "rest of the log", 60, pause=0.01)


def is_open_log(link):
    """Whether a descriptor is the log's, which is closed a moment after its lines are there."""
    try:
        return os.readlink(link).endswith(LOG)
    except FileNotFoundError:
        return True


class Usage:
    """What a host holds once its log is on disk: without what its allocator keeps for later, and the log itself."""

    def __init__(self, host, log):
        log.settle()
        host.tell("trim")
        process = pathlib.Path(f"/proc/{host.process.pid}")
        rollup = (process / "smaps_rollup").read_text()
        self.memory = int(re.search(r"^Private_Dirty: +(\d+) kB$", rollup, re.MULTILINE)[1])
        self.descriptors = sum(not is_open_log(link) for link in (process / "fd").iterdir())
        self.threads = len(list((process / "task").iterdir()))

    def __str__(self):
        return f"{self.memory} KiB, {self.descriptors} file descriptors, {self.threads} threads"


def hold_against(before, after):
    if after.memory > before.memory + KEPT or after.descriptors != before.descriptors:
        raise AssertionError("the host holds more than before")


def end(host):
    host.say("end")
    if host.wait_end():
        raise AssertionError("the host failed")


def say(text):
    print(f"soak: {text}", flush=True)


def draw_icons(directory, side):
    """As many as an animation has frames, no two of one shape."""
    files = []
    for number in range(FRAMES):
        image = Image.new("RGBA", (side, side))
        ImageDraw.Draw(image).rectangle((side // 5, side // 5, side // 5 + number, side * 4 // 5), fill="black")
        files.append(directory / f"{side}-{number}.png")
        image.save(files[-1])
        files[-1].chmod(0o644)
    return files


def menu(number):
    entries = [{"id": f"{number}-{i}", "title": f"Entry {i} of menu {number}"} for i in range(1 + number % 7)]
    return "items " + json.dumps(entries)


class Opened:
    """The URLs that the user's handler for "quillsoak:" was started with, in a home where nothing else is."""

    def __init__(self, data):
        self.file = data / "opened"
        applications = data / "applications"
        applications.mkdir(parents=True)
        (applications / "quill.soak.desktop").write_text(
            "[Desktop Entry]\nType=Application\nName=Soak\nMimeType=x-scheme-handler/quillsoak;\n"
            f"Exec=/bin/sh -c 'echo \"$0\" >>{self.file}' %u\n"
        )
        (applications / "mimeapps.list").write_text("[Default Applications]\nx-scheme-handler/quillsoak=quill.soak.desktop\n")

    def open(self, host, url):
        host.tell(f"open {url}")
        wait_for(lambda: self.file.exists() and url in self.file.read_text().split(), f"opened {url}", pause=0.01)


class Life:
    """Each step is done `count` times; what the host holds is compared after a first cycle and at the end."""

    def __init__(self, host, log, icons, frames, opened):
        self.host = host
        self.log = log
        self.icons = icons
        self.frames = frames
        self.opened = opened

    def repeat(self, count, command):
        for number in range(count):
            self.host.tell(command(number))
            if number % 100 == 99:
                self.log.settle()

    def cycle(self, counts):
        self.repeat(counts["icon changes"], lambda number: f"icon {self.icons[number % FRAMES]}")
        self.repeat(counts["menu replacements"], lambda n: menu(n) if n % 2 else f"model Menu {n}")
        self.repeat(counts["status items"], lambda _: "create")
        for _ in range(counts["URLs"]):
            self.opened.open(self.host, f"quillsoak:{time.monotonic_ns()}")
        for frame in self.frames:
            self.host.tell(f"frame {frame}")
        for _ in range(counts["animations"]):
            self.host.tell("start")
            time.sleep((FRAMES + 1) * TICK)
        self.host.tell("reset")

    def live(self, counts):
        self.cycle({name: min(count, 100) for name, count in counts.items()})
        first = Usage(self.host, self.log)
        self.cycle(counts)
        last = Usage(self.host, self.log)
        say(", ".join(f"{count} {name}" for name, count in counts.items()) + f" of {FRAMES} frames of 512 px")
        say(f"after the first cycle: {first}; at the end: {last}")
        hold_against(first, last)


def live_in_a_panel(build, quick):
    counts = {"icon changes": 10_000, "menu replacements": 10_000, "status items": 1_000, "URLs": 300, "animations": 600}
    restarts = 100
    if quick:
        counts = {name: count // 100 for name, count in counts.items()}
        restarts = 3
    with PanelSession("xfce4-panel") as session:
        icons, frames = draw_icons(session.directory, 44), draw_icons(session.directory, 512)
        opened = Opened(session.directory / "data")
        host = session.start_host([build / "tests/panel/panel_host"])
        host.tell("create")
        log = Log(host, session.directory / "home")
        Life(host, log, icons, frames, opened).live(counts)
        host.tell(f"icon {icons[-1]}")
        session.wait_for_icon()
        before = Usage(host, log)
        for _ in range(restarts):
            session.kill_panel()
            session.start_panel()
            session.wait_for_icon()
        after = Usage(host, log)
        say(f"panel killed and started {restarts} times: the icon was back each time; {before}, then {after}")
        hold_against(before, after)
        end(host)


class Bus:
    """A session bus at an address that stays, its watcher, and a host."""

    def __init__(self, directory):
        self.socket = directory / "bus"
        self.environment = {
            "PATH": os.environ["PATH"],
            "HOME": str(directory),
            "XDG_RUNTIME_DIR": str(directory),
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.socket}",
        }

    def spawn(self, words, **options):
        """Ends with this process."""
        words = ["setpriv", "--pdeathsig", "KILL", *words]
        options |= {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "stderr": subprocess.DEVNULL}
        return Host(subprocess.Popen(words, env=self.environment, encoding="utf-8", **options))

    def start_daemon(self):
        daemon, _ = start_bus(self.spawn, self.environment["DBUS_SESSION_BUS_ADDRESS"])
        return daemon

    def start_watcher(self):
        return self.spawn(["/usr/bin/python3", "-B", str(pathlib.Path(__file__).with_name("watcher.py"))])

    @staticmethod
    def kill(program):
        program.process.kill()
        program.wait_end()


def registrations(watcher):
    """Waits for the first, then for whatever comes with the next breath."""
    wait_for(lambda: watcher.said, "registration", pause=0.01)
    time.sleep(0.05)
    return watcher.said


def outlive_watchers_and_buses(build, quick):
    rounds = 3 if quick else 100
    with tempfile.TemporaryDirectory() as name:
        directory = pathlib.Path(name)
        bus = Bus(directory)
        daemon, watcher = bus.start_daemon(), bus.start_watcher()
        host = bus.spawn([str(build / "tests/panel/panel_host")])
        for command in (menu(3), "create", f"icon {draw_icons(directory, 44)[3]}"):
            host.tell(command)
        registrations(watcher)
        log = Log(host, directory)
        before = None
        for kind in ("watcher", "bus daemon"):
            for number in range(rounds + 1):  # one for the first cycle
                bus.kill(watcher)
                if kind == "bus daemon":
                    bus.kill(daemon)
                    bus.socket.unlink(missing_ok=True)
                    daemon = bus.start_daemon()
                watcher = bus.start_watcher()
                times = len(registrations(watcher))
                if times != 1:
                    raise AssertionError(f"registered {times} times: {watcher.said}")
                before = Usage(host, log) if number == 0 else before
            after = Usage(host, log)
            say(f"{kind} killed and started {rounds} times: the item was back each time, once; {before}, then {after}")
            hold_against(before, after)
        end(host)
        for program in (watcher, daemon):
            bus.kill(program)


def main():
    build, quick = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:] == ["quick"]
    outlive_watchers_and_buses(build, quick)
    live_in_a_panel(build, quick)


try:
    main()
except NotInstalled as missing:
    print(f"SKIPPED: not installed: {missing}")
    sys.exit(77)
