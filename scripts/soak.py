"""A long life and many restarts, counted: soak.py BUILD_DIRECTORY [quick].

One host lives on a bus whose watcher and daemon are killed many times, another one in a session with a real panel. After
a first cycle a host's memory stays within KEPT, and its file descriptors are as they were. Times are in seconds.
"""

import json
import os
import pathlib
import sys
import time
from typing import NamedTuple

from panel_session import NotInstalled, PanelSession
from PIL import Image, ImageDraw
from private_session import PrivateSession
from servers import wait_for

KEPT = 256  # KiB
TICK = 0.035
FRAMES = 30
COUNTS = {"icon changes": 10_000, "menu replacements": 10_000, "status items": 1_000, "URLs": 300, "animations": 600}
LOG = "home/Library/Application Support/com.orvi.tamble/.logs/native.log"
OPENED = "data/opened"  # the URLs that the handler of "quillsoak:" was started with, one a line
HANDLER = """[Desktop Entry]
Type=Application
Name=Soak
MimeType=x-scheme-handler/quillsoak;
Exec=/bin/sh -c 'echo "$0" >>{file}' %u
"""
DEFAULTS = "[Default Applications]\nx-scheme-handler/quillsoak=quill.soak.desktop\n"


def say(text):
    print(f"soak: {text}", flush=True)


def is_open_log(link):
    """Whether a descriptor is the log's, which the library closes a moment after the last line."""
    try:
        return os.readlink(link).endswith(LOG)
    except FileNotFoundError:
        return True


class Usage(NamedTuple):
    memory: int  # KiB
    descriptors: int
    threads: int

    def __str__(self):
        return f"{self.memory} KiB, {self.descriptors} file descriptors, {self.threads} threads"


class Life:
    """The tests' own host, whose usage is measured while nothing waits for the disk."""

    def __init__(self, session, build):
        self.directory = session.directory
        self.icons, self.frames = (self.draw_icons(side) for side in (44, 512))
        self.host = session.start_host([build / "tests/panel/panel_host"])
        for command in (self.menu(3), "create", f"icon {self.icons[3]}"):
            self.host.tell(command)
        wait_for((self.directory / LOG).exists, "log")
        self.log = open(self.directory / LOG, "rb")
        self.lines = 0

    def draw_icons(self, side):
        """As many as an animation has frames, no two of one shape."""
        files = []
        for number in range(FRAMES):
            image = Image.new("RGBA", (side, side))
            ImageDraw.Draw(image).rectangle((side // 5, side // 5, side // 5 + number, side * 4 // 5), fill="black")
            files.append(self.directory / f"{side}-{number}.png")
            image.save(files[-1])
        return files

    @staticmethod
    def menu(number):
        entries = [{"id": f"{number}-{i}", "title": f"Entry {i} of menu {number}"} for i in range(1 + number % 7)]
        return "items " + json.dumps(entries)

    def settle(self):
        """Waits until every log line is on disk."""

        def is_written():
            self.lines += self.log.read().count(b"\n")
            return self.lines >= len(self.host.log)

        wait_for(is_written, "rest of the log", 60, pause=0.01)

    def usage(self):
        """Without what the allocator keeps for later, and without the log's file."""
        self.settle()
        self.host.tell("trim")
        links = pathlib.Path(f"/proc/{self.host.process.pid}/fd").iterdir()
        descriptors = sum(not is_open_log(link) for link in links)
        return Usage(self.host.private_memory(), descriptors, len(self.host.tasks("comm")))

    def compare(self, before, what):
        """AssertionError if the host holds more than `before`."""
        after = self.usage()
        say(f"{what}: {before}, then {after}")
        if after.memory > before.memory + KEPT or after.descriptors != before.descriptors:
            raise AssertionError("the host holds more than before")

    def repeat(self, count, command):
        for number in range(count):
            self.host.tell(command(number))
            if number % 100 == 99:
                self.settle()

    def open(self, url):
        opened = self.directory / OPENED
        self.host.tell(f"open {url}")
        wait_for(lambda: opened.exists() and url in opened.read_text().split(), f"opened {url}", pause=0.01)

    def cycle(self, counts):
        self.repeat(counts["icon changes"], lambda number: f"icon {self.icons[number % FRAMES]}")
        self.repeat(counts["menu replacements"], lambda n: self.menu(n) if n % 2 else f"model Menu {n}")
        self.repeat(counts["status items"], lambda _: "create")
        for _ in range(counts["URLs"]):
            self.open(f"quillsoak:{time.monotonic_ns()}")
        self.repeat(FRAMES, lambda number: f"frame {self.frames[number]}")
        for _ in range(counts["animations"]):
            self.host.tell("start")
            time.sleep((FRAMES + 1) * TICK)
        self.host.tell("reset")

    def end(self):
        self.log.close()
        self.host.say("end")
        if self.host.wait_end():
            raise AssertionError("the host failed")


def live_in_a_panel(build, quick):
    counts = {name: count // 100 if quick else count for name, count in COUNTS.items()}
    restarts = 3 if quick else 100
    with PanelSession("xfce4-panel") as session:
        applications = session.directory / "data/applications"
        applications.mkdir()
        (applications / "quill.soak.desktop").write_text(HANDLER.format(file=session.directory / OPENED))
        (applications / "mimeapps.list").write_text(DEFAULTS)
        life = Life(session, build)
        life.cycle({name: min(count, 100) for name, count in counts.items()})
        first = life.usage()
        life.cycle(counts)
        done = ", ".join(f"{count} {name}" for name, count in counts.items())
        life.compare(first, f"{done} of {FRAMES} frames of 512 px")
        life.host.tell(f"icon {life.icons[-1]}")
        session.wait_for_icon()
        before = life.usage()
        for _ in range(restarts):
            session.kill_panel()
            session.start_panel()
            session.wait_for_icon()
        life.compare(before, f"panel killed and started {restarts} times: the icon was back each time")
        life.end()


def wait_for_one_registration(watcher):
    watcher.hear("registered")
    watcher.hear("layout")
    registrations = [line for line in watcher.said if line.startswith("registered")]
    if len(registrations) != 1:
        raise AssertionError(f"more than one registration: {registrations}")


def outlive_watchers_and_buses(build, quick):
    rounds = 3 if quick else 100
    with PrivateSession() as session:
        watcher = session.start_watcher()
        life = Life(session, build)
        wait_for_one_registration(watcher)
        for kind in ("watcher", "bus daemon"):
            for number in range(rounds + 1):  # one for the first cycle
                watcher.kill()
                if kind == "bus daemon":
                    session.bus.kill()
                    session.bus.wait()
                    session.bus = session.start_bus()
                watcher = session.start_watcher()
                wait_for_one_registration(watcher)
                if number == 0:
                    before = life.usage()
            life.compare(before, f"{kind} killed and started {rounds} times: the item was back each time, once")
        life.end()


def main():
    build, quick = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:] == ["quick"]
    outlive_watchers_and_buses(build, quick)
    live_in_a_panel(build, quick)


try:
    main()
except NotInstalled as missing:
    print(f"SKIPPED: not installed: {missing}")
    sys.exit(77)
