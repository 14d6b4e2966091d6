"""Measures the library beside what a host would use instead: run.py BUILD_DIRECTORY RESULT_DIRECTORY [FIGURE...]

Each figure is the median of several rounds in which all programs take turns. Prints one table, and writes it as
figures.json.
"""

import ctypes
import json
import os
import pathlib
import statistics
import sys
import time
from collections import defaultdict

from PIL import Image, ImageDraw
from rows import OURS, Row, machine, rows, table

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "scripts"))
from panel_session import PanelSession  # noqa: E402
from private_session import PrivateSession  # noqa: E402
from servers import start_display, wait_for  # noqa: E402

BARE, QT, WRITE = "bare sd-bus", "Qt 6", "write(2) alone"
ITEMS = {OURS: "quill", BARE: "bare", QT: "qt"}
LOGS = {OURS: "ours", WRITE: "write"}
TICK = 0.035  # seconds
REST = 0.25  # seconds without a wakeup after which a process counts as at rest
FEW, MANY = 5, 10_000


class Session(PrivateSession):
    """A private session with a display for Qt, whose processes start as they do on a desktop."""

    runner = ()

    def start(self):
        super().start()
        _, display = start_display(self.spawn, 640, 480)
        self.environment.update(DISPLAY=display, GDK_BACKEND="x11", QT_QPA_PLATFORM="xcb")


def cpu(pid):
    """The CPU time of all its threads so far, in nanoseconds."""
    clock = ctypes.c_int()
    if ctypes.CDLL(None).clock_getcpuclockid(pid, ctypes.byref(clock)):
        raise ProcessLookupError(pid)
    return time.clock_gettime_ns(clock.value)


def wakeups(program):
    """How often its threads have gone to sleep or were made to, up to now."""
    lines = [line.split() for status in program.tasks("status") for line in status.splitlines()]
    return sum(int(words[1]) for words in lines if words[0].endswith("voluntary_ctxt_switches:"))


def wait_for_rest(program):
    def is_at_rest():
        before = wakeups(program)
        time.sleep(REST)
        return wakeups(program) == before

    wait_for(is_at_rest, "process at rest", 60)


def make_icons(directory):
    """SIDE-INDEX.png, a disc and a ring for each of three sides; returns the four files that an item program gets."""
    directory.mkdir()
    for index in (0, 1):
        icon = Image.new("RGBA", (512, 512))
        ImageDraw.Draw(icon).ellipse((26, 26, 486, 486), fill=(40, 70, 110))
        if index == 1:
            ImageDraw.Draw(icon).ellipse((128, 128, 384, 384), fill=(0, 0, 0, 0))
        for side in (22, 44, 64):
            icon.resize((side, side), Image.Resampling.BOX).save(directory / f"{side}-{index}.png")
    return [directory / f"{side}-{index}.png" for side in (22, 44) for index in (0, 1)]


class Benchmark:
    def __init__(self, session, build, directory):
        self.session = session
        self.build = build
        self.icons = make_icons(directory)
        self.items = {name: program for name, program in ITEMS.items() if (build / program).exists()}
        if QT not in self.items:
            print("benchmark: Qt is not installed: left out", flush=True)
        self.with_menu = [name for name in self.items if name != BARE]

    def start(self, program, *arguments, session=None):
        """A program that answers on standard error; its log goes to a file."""
        return (session or self.session).start_host([self.build / program, *arguments], lines="stderr")

    def start_item(self, name, session=None):
        return self.start(self.items[name], *self.icons, session=session)

    @staticmethod
    def rounds(count, measure, names):
        """For each program the medians of the numbers that `measure(name)` returns."""
        found = defaultdict(list)
        for _ in range(count):
            for name in names:
                found[name].append(measure(name))
        return {name: [statistics.median(same) for same in zip(*values)] for name, values in found.items()}

    @staticmethod
    def cost_of_change(item, count, cost):
        """What one of `count` icon changes adds to `cost()`; read halfway between two changes."""
        wait_for_rest(item)
        item.say(f"change {count + 2 * FEW}")
        time.sleep((FEW + 0.5) * TICK)
        before = cost()
        time.sleep(count * TICK)
        after = cost()
        item.hear("done")
        return (after - before) / count

    # --- the figures ------------------------------------------------------------------------------------------

    def icon_change(self):
        """An icon change that a panel reads, with icons that are ready."""
        count = 50

        def measure(name):
            with self.session.start_watcher() as watcher, self.start_item(name) as item:
                watcher.hear("read")
                spent = self.cost_of_change(item, count, lambda: cpu(item.process.pid))
                if watcher.said.count("read") < count:
                    raise RuntimeError(f"{name}: not every icon was read")
                return [spent / 1e3]

        cost = self.rounds(3, measure, self.items)
        return rows(["icon change that a panel reads, 22 and 44 px: CPU of the host, µs"], cost)

    def animation(self):
        """A tick of an animation: the CPU time of all processes of a session."""

        def measure(name):
            with self.start_item(name, panel) as item:
                panel.wait_for_icon()
                spent = self.cost_of_change(item, 280, lambda: sum(map(cpu, panel.processes())))
            panel.wait_for_no_icon()
            return [spent / 1e6]

        with PanelSession("xfce4-panel") as panel:
            cost = self.rounds(3, measure, self.with_menu)
        return rows(["tick of an animation in xfce4-panel: CPU of host, bus, panel and display, ms"], cost)

    def start_up(self):
        """From the start of a process until a panel has read its item; then what an icon and an animation leave."""
        with self.start("empty") as empty:
            wait_for_rest(empty)
            nothing = empty.private_memory()

        def measure(name):
            with self.session.start_watcher() as watcher, self.start_item(name) as item:
                watcher.hear("read")
                spent = cpu(item.process.pid)
                wait_for_rest(item)
                memory = item.private_memory() - nothing
                item.say("change 3")
                item.hear("done")
                wait_for_rest(item)
                threads = item.tasks("children")
                stray = sum(len(f"{line}\n".encode()) for line in item.said + item.log if line != "done")
                return [spent / 1e6, memory / 1024, len(threads), len(" ".join(threads).split()), stray]

        figures = (
            "process start to item shown: CPU, ms",
            "private memory beyond an empty process, MiB",
            "after an icon and an animation: threads",
            "the same: child processes",
            "the same: bytes on standard error",
        )
        return rows(figures, self.rounds(5, measure, self.items))

    def menu(self):
        """From a menu's JSON file to the reply to GetLayout."""

        def cost(item):
            return cpu(item.process.pid) / 1e6, item.private_memory() / 1024

        def measure(name):
            with self.session.start_watcher() as watcher, self.start_item(name) as item:
                watcher.hear("layout")
                wait_for_rest(item)
                before = cost(item)
                item.say(f"menu {file}")
                item.hear("done")
                watcher.say("")
                if watcher.hear("layout") != [str(MANY)]:
                    raise RuntimeError(f"{name}: not the whole menu was read")
                return [after - earlier for earlier, after in zip(before, cost(item))]

        file = self.session.directory / "menu.json"
        found = []
        for keys in ({}, {"keyEquivalent": "Cmd+Shift+K"}):
            menu = [{"id": f"item-{i}", "title": f"Item {i}", "enabled": True, **keys} for i in range(MANY)]
            file.write_text(json.dumps(menu))
            found.append(self.rounds(3, measure, self.with_menu))
        with_keys = {name: values[:1] for name, values in found[1].items()}
        return [
            *rows(["menu of 10,000 items, JSON to layout: CPU, ms", "the same: private memory, MiB"], found[0]),
            *rows(["the same with 10,000 shortcuts, each a log line: CPU, ms"], with_keys),
        ]

    def log_call(self):
        """A log call at its caller, without a pause."""
        found = []
        for threads, calls in ((1, 100_000), (8, 25_000)):

            def measure(name):
                with self.start("log_calls", LOGS[name], threads, calls) as running:
                    median = int(running.hear("calls")[0])
                for log in self.session.directory.rglob("*.log"):
                    log.unlink()
                return [median / 1e3]

            text = f"{threads} thread" if threads == 1 else f"{threads} threads at once"
            found += rows([f"log call, {text}: median, µs"], self.rounds(5, measure, LOGS))
        return found

    def set_icon(self):
        """set_main_icon beside the decoding that it needs."""
        count = 300
        with self.session.start_watcher(), self.start("icon_calls", self.icons[0].with_name("64-0.png"), count) as running:
            calls = [[int(word) / 1e3 for word in running.hear("call")] for _ in range(count)]
        ours, decoding = map(statistics.median, zip(*calls))
        return [Row("set_main_icon, 64 px PNG: CPU at the caller, µs", ours, {"libpng alone": decoding})]

    def idle(self):
        """Wakeups while nothing happens."""
        seconds = 10

        def measure(name):
            with self.session.start_watcher() as watcher, self.start_item(name) as item:
                watcher.hear("read")
                wait_for_rest(item)
                before = wakeups(item)
                time.sleep(seconds)
                return [wakeups(item) - before]

        return rows([f"wakeups in {seconds} s while the item is shown"], self.rounds(1, measure, self.items))


FIGURES = {
    "start": Benchmark.start_up,
    "idle": Benchmark.idle,
    "icon-change": Benchmark.icon_change,
    "animation": Benchmark.animation,
    "set-icon": Benchmark.set_icon,
    "menu": Benchmark.menu,
    "log-call": Benchmark.log_call,
}


def main():
    build, results = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    chosen = sys.argv[3:] or list(FIGURES)
    unknown = set(chosen) - set(FIGURES)
    if unknown:
        sys.exit(f"benchmark: no figure {', '.join(unknown)}; there are {', '.join(FIGURES)}")
    results.mkdir(parents=True, exist_ok=True)
    found = []
    with Session() as session:
        benchmark = Benchmark(session, build / "benchmarks", session.directory / "icons")
        for name in chosen:
            started = time.monotonic()
            found += FIGURES[name](benchmark)
            print(f"benchmark: {name} ({time.monotonic() - started:.0f} s)", flush=True)
    figures = {"machine": machine(), "rows": [row._asdict() for row in found]}
    (results / "figures.json").write_text(json.dumps(figures, ensure_ascii=False, indent=2) + "\n")
    print(f"\n{machine()}, load {os.getloadavg()[0]:.1f}\n\n{table(found)}")


if __name__ == "__main__":
    main()
