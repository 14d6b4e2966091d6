"""Measures the library beside what a host would use instead: run.py BUILD_DIRECTORY RESULT_DIRECTORY [FIGURE...]

Every figure is the median of several rounds in which all programs take their turns. Prints one table, and writes it
as figures.json.
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import time
from collections import defaultdict

from icons import make_icons
from rows import against, at_most, column, machine, medians, only, table
from session import PanelSession, Session, cpu

OURS, BARE, QT, WRITE = "ours", "bare sd-bus", "Qt 6", "write(2) alone"
ITEMS = {OURS: "quill", BARE: "bare", QT: "qt"}
LOGS = {OURS: "quill_log_calls", WRITE: "write_calls"}
TICK = 35_000_000  # ns


class Benchmark:
    def __init__(self, session, icons):
        self.session = session
        self.icons = icons
        if not session.has(ITEMS[QT]):
            print("benchmark: Qt is not installed: left out", flush=True)
        self.items = {name: program for name, program in ITEMS.items() if session.has(program)}

    def item(self, name, size=44):
        return self.session.start(self.items[name], size, self.icons)

    def rounds(self, count, measure, names=None):
        """The median of what `measure(name)` gives for each item program: a number, or a list of them."""
        found = defaultdict(list)
        for _ in range(count):
            for name in self.items:
                if names is None or name in names:
                    found[name].append(measure(name))
        return {name: medians(values) for name, values in found.items()}

    # --- the figures ------------------------------------------------------------------------------------------

    def icon_change(self):
        """CPU of an icon change that a panel reads: every 35 ms, with frames made ready before."""
        count = 50
        rows = []
        for size, figure in ((22, "22"), (44, "22 and 44")):

            def measure(name):
                with self.session.panel() as panel, self.item(name, size) as item:
                    panel.hear("read")
                    item.rest()
                    panel.count("read")
                    item.tell(f"change {count}")
                    begin, end = item.hear_report(), item.hear_report()
                    item.hear("done")
                    item.rest()
                    if panel.count("read") < count:
                        raise RuntimeError(f"{name}: not every icon was read")
                    return (end.cpu - begin.cpu_after) / count / 1e3

            cost = self.rounds(3, measure)
            text = f"icon change, {figure} px: CPU, µs"
            rows += against(text, cost[OURS], only(cost, BARE), 1.25)
            rows += against(text, cost[OURS], only(cost, QT), 0.35)
        return rows

    def animation(self):
        """CPU of host, bus, panel and display for a tick of an animation in xfce4-panel."""
        count = 280

        def measure(name):
            with self.session.start(self.items[name], 44, self.icons, environment=panel.environment) as item:
                panel.wait_for_icon()
                item.rest()
                item.tell(f"change {count}")
                spent = []
                for _ in range(2):
                    item.hear_report()
                    spent.append(sum(cpu(process) for process in [*panel.processes(), item.process.pid]))
                item.hear("done")
            panel.wait_for_no_icon()
            return (spent[1] - spent[0]) / count / 1e6

        with PanelSession("xfce4-panel") as panel:
            cost = self.rounds(3, measure, (OURS, QT))
        return against("animation in xfce4-panel: CPU of the session a tick, ms", cost[OURS], only(cost, QT), 1)

    def start(self):
        """From the start of a process until a panel has read its item; memory and threads once it is at rest."""

        def measure(name):
            with self.session.panel() as panel, self.item(name) as item:
                panel.hear("read")
                shown = item.report()
                item.rest()
                rest = item.report()
                return [shown.cpu / 1e6, rest.memory, rest.threads]

        found = self.rounds(5, measure)
        with self.session.start("empty") as empty:
            nothing = empty.report().memory
        cpu, threads = column(found, 0), column(found, 2)
        memory = {name: (kibibytes - nothing) / 1024 for name, kibibytes in column(found, 1).items()}
        text = "process start to item shown: CPU, ms"
        return [
            *at_most(text, cpu[OURS], only(cpu, BARE), 8),
            *against(text, cpu[OURS], only(cpu, QT), 0.3),
            *against("private memory beyond an empty process, MiB", memory[OURS], only(memory, QT), 0.3),
            *at_most("threads, the log's among them", threads[OURS], only(threads, BARE, QT), 2),
        ]

    def guest(self):
        """What a host has besides itself after an icon and an animation."""
        with self.session.panel() as panel, self.item(OURS) as item:
            panel.hear("read")
            item.tell("change 3")
            item.hear("done")
            item.rest()
            threads = len(item.tasks("stat"))
            children = sum(len(text.split()) for text in item.tasks("children"))
            stray = item.stray("report", "done")
        return [
            *at_most("after an icon and an animation: threads", threads, {}, 2),
            *at_most("the same: child processes", children, {}, 0),
            *at_most("the same: bytes on standard error", stray, {}, 0),
        ]

    def menu(self):
        """From the menu's JSON text to the reply to the first GetLayout."""

        def layout(panel, item, command, count):
            item.tell(f"{command} {count}")
            begin = item.hear_report()
            item.hear("done")
            panel.tell("layout")
            if int(panel.hear("layout")[0]) != count:
                raise RuntimeError(f"{item.name}: not the whole menu was read")
            end = item.report()
            return (end.cpu - begin.cpu_after) / 1e6, (end.memory - begin.memory) / 1024

        def measure(command, count, repeated=1):
            def run(name):
                with self.session.panel() as panel, self.item(name) as item:
                    panel.hear("read")
                    item.rest()
                    return medians([layout(panel, item, command, count) for _ in range(repeated)])

            return run

        many = 10_000
        found = self.rounds(3, measure("menu", many), (OURS, QT))
        keys = self.rounds(3, measure("keys", many), (OURS, QT))
        each = [self.rounds(3, measure("menu", n, 9), (OURS,))[OURS][0] / n for n in (10, 1000)]
        cpu, memory = column(found, 0), column(found, 1)
        keyed = column(keys, 0)
        per_item = cpu[OURS] / many
        return [
            *against("menu of 10,000, JSON to layout: CPU, ms", cpu[OURS], only(cpu, QT), 0.25),
            *against("the same: private memory, MiB", memory[OURS], only(memory, QT), 0.45),
            *against("the same, a shortcut and so a log line each: CPU, ms", keyed[OURS], only(keyed, QT), 0.25),
            *against("an item of 10,000: CPU, µs", per_item * 1e3, {"of 10": each[0] * 1e3}, 1.5),
            *against("an item of 10,000: CPU, µs", per_item * 1e3, {"of 1,000": each[1] * 1e3}, 1.5),
        ]

    def log_call(self):
        """One log call at its caller, flat out, console to a file."""
        rows = []
        for threads, calls, text in ((1, 100_000, "1 thread"), (8, 25_000, "8 threads")):
            found = defaultdict(list)
            for _ in range(5):
                for name, program in LOGS.items():
                    with self.session.start(program, threads, calls) as running:
                        found[name].append([int(word) / 1e3 for word in running.hear("calls")])
                    remove_logs(self.session.directory / "home" / program)
            values = {name: medians(times) for name, times in found.items()}
            for index, kind in enumerate(("median", "99th percentile")[: 1 if threads == 1 else 2]):
                time = column(values, index)
                figure = f"log call, {text}: {kind}, µs"
                rows += against(figure, time[OURS], only(time, WRITE), 1.5)
        return rows

    def set_icon(self):
        """set_main_icon against the decoding that it needs."""
        with self.session.panel(), self.session.start("icon_calls", self.icons / "64-0.png", 300) as running:
            ours, decoding = (int(time) / 1e3 for time in running.hear("icons"))
        return against("set_main_icon, 64 px PNG: CPU at the caller, µs", ours, {"libpng alone": decoding}, 1.5)

    def tick(self):
        """The animation's clock beside a bare timerfd's, idle and with every core busy."""
        count = 1001
        frames = [self.icons / f"22-{index}.png" for index in (0, 1)]
        rows = []
        for text, busy, most in (("idle", 0, 1), ("all cores busy", os.cpu_count(), 10)):
            with (
                self.session.panel() as panel,
                self.session.start("quill_ticks", count, *frames) as ours,
                self.session.start("timerfd_ticks", count) as timer,
            ):
                panel.hear("read")
                ours.rest()
                spinning = [subprocess.Popen([sys.executable, "-c", "while True: pass"]) for _ in range(busy)]
                try:
                    ours.tell("start")
                    time.sleep(TICK / 2 / 1e9)  # so that they don't stand in each other's way
                    timer.tell("start")
                    clock, beside = (Clock(program.hear("ticks")) for program in (ours, timer))
                finally:
                    for process in spinning:
                        process.kill()
                        process.wait()
            figure = f"1,000 ticks of 35 ms, {text}"
            rows += at_most(f"{figure}: drift, ms", clock.drift, {"timerfd": beside.drift}, most)
            rows += against(f"{figure}: period error, 99th percentile, µs", clock.error, {"timerfd": beside.error}, 1.2)
        return rows

    def idle(self):
        """Wakeups while nothing happens."""
        seconds = 10
        with self.session.panel() as panel:
            running = {}
            try:
                for name in self.items:
                    running[name] = self.item(name)
                    panel.hear("read")
                for item in running.values():
                    item.rest()
                before = {name: item.switches() for name, item in running.items()}
                time.sleep(seconds)
                woken = {name: item.switches() - before[name] for name, item in running.items()}
            finally:
                for item in running.values():
                    item.__exit__()
        return at_most("wakeups in 10 s, item on show", woken.pop(OURS), woken, 0)


class Clock:
    """What a row of tick times says of its clock."""

    def __init__(self, words):
        times = [int(word) for word in words]
        errors = sorted(abs(after - before - TICK) for before, after in zip(times, times[1:]))
        self.drift = abs(times[-1] - times[0] - TICK * (len(times) - 1)) / 1e6  # ms
        self.error = errors[len(errors) * 99 // 100] / 1e3  # µs


def remove_logs(home):
    for log in home.rglob("*.log"):
        log.unlink()


FIGURES = {
    "icon-change": Benchmark.icon_change,
    "animation": Benchmark.animation,
    "start": Benchmark.start,
    "guest": Benchmark.guest,
    "menu": Benchmark.menu,
    "log-call": Benchmark.log_call,
    "set-icon": Benchmark.set_icon,
    "tick": Benchmark.tick,
    "idle": Benchmark.idle,
}


def main():
    build, results = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    chosen = sys.argv[3:] or list(FIGURES)
    for name in chosen:
        if name not in FIGURES:
            sys.exit(f"benchmark: no figure {name}; there are " + ", ".join(FIGURES))
    shutil.rmtree(results, ignore_errors=True)
    make_icons(results / "icons")
    rows = []
    with Session(build / "benchmarks", results) as session:
        benchmark = Benchmark(session, results / "icons")
        for name in chosen:
            started = time.monotonic()
            rows += FIGURES[name](benchmark)
            print(f"benchmark: {name} ({time.monotonic() - started:.0f} s)", flush=True)
    shutil.rmtree(results / "home", ignore_errors=True)
    here = machine()
    (results / "figures.json").write_text(
        json.dumps({"machine": here, "rows": [vars(row) for row in rows]}, ensure_ascii=False, indent=2) + "\n"
    )
    print(f"\n{here['cores']} cores ({here['processor']}), {here['memory_gib']} GiB, Linux {here['kernel']}\n")
    print(table(rows))


if __name__ == "__main__":
    main()
