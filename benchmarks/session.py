"""A private session without a screen of its own, and the programs of the benchmark in it."""

import os
import pathlib
import queue
import subprocess
import sys
import threading
import time

SCRIPTS = pathlib.Path(__file__).resolve().parents[1] / "scripts"
sys.path.insert(0, str(SCRIPTS))
from panel_session import PanelSession  # noqa: E402, F401
from servers import start_bus, start_display  # noqa: E402

DEADLINE = 60.0  # seconds, for one answer
REST = 0.25  # seconds without a wakeup after which a process counts as at rest


def task_files(process, file):
    """Of each thread of a process, this file's text."""
    return [(task / file).read_text() for task in pathlib.Path(f"/proc/{process}/task").iterdir()]


class Program:
    """One program of the benchmark: commands go to its standard input, answers come on its standard error."""

    def __init__(self, name, words, environment, home):
        home.mkdir(parents=True, exist_ok=True)
        self.name = name
        with open(home / "standard-output", "wb") as output:
            self.process = subprocess.Popen(
                list(map(str, words)),
                env={**environment, "HOME": str(home), "XDG_RUNTIME_DIR": str(home)},
                stdin=subprocess.PIPE,
                stdout=output,
                stderr=subprocess.PIPE,
                encoding="utf-8",
                errors="replace",
            )
        self._lines = queue.Queue()
        self._others = []
        threading.Thread(target=self._listen, daemon=True).start()

    def _listen(self):
        for line in self.process.stderr:
            self._lines.put(line.rstrip("\n"))
        self._lines.put(None)

    def tell(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def hear(self, word, deadline=DEADLINE):
        """The words that follow on `word` in the next line that starts with it; what comes before is set aside."""
        end = time.monotonic() + deadline
        while True:
            try:
                line = self._lines.get(timeout=max(0, end - time.monotonic()))
            except queue.Empty:
                line = None
            if line is None:
                raise RuntimeError(f"{self.name}: no '{word}' after: " + " | ".join(self._others[-10:]))
            first, *rest = line.split()
            if first == word:
                return rest
            self._others.append(line)

    def count(self, word):
        """How often it has said so by now."""
        found = 0
        while not self._lines.empty():
            line = self._lines.get()
            found += line == word
        return found

    def stray(self, *answers):
        """How many bytes came on its standard error by now that are no such answers."""
        self._others += self._lines.queue
        return sum(len(f"{line}\n".encode()) for line in self._others if line.split(" ")[0] not in answers)

    def tasks(self, file):
        """Of each of its threads, this file's text."""
        return task_files(self.process.pid, file)

    def hear_report(self):
        return Report(self.hear("report"))

    def report(self):
        self.tell("report")
        return self.hear_report()

    def switches(self):
        """How often its threads have gone to sleep or were made to, up to now."""
        total = 0
        for status in self.tasks("status"):
            for line in status.splitlines():
                if line.startswith(("voluntary_ctxt_switches", "nonvoluntary_ctxt_switches")):
                    total += int(line.split()[1])
        return total

    def rest(self):
        """Waits until it is at rest."""
        end = time.monotonic() + DEADLINE
        before, now = None, self.switches()
        while now != before:
            if time.monotonic() > end:
                raise RuntimeError(f"{self.name} does not come to rest")
            time.sleep(REST)
            before, now = now, self.switches()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.terminate()
        self.process.wait()


class Report:
    """What a program said of itself."""

    def __init__(self, words):
        before, memory, threads, after = map(int, words)
        self.cpu = before  # ns, at the look
        self.memory = memory  # KiB
        self.threads = threads
        self.cpu_after = after  # ns, at its end


class Session:
    """A bus with nothing on it but what is started here, and a display for the peers that need one."""

    def __init__(self, programs, directory):
        self.programs = programs
        self.directory = directory
        self._children = []

    def __enter__(self):
        try:
            self._start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def _start(self):
        _, bus = start_bus(self._spawn)
        _, display = start_display(self._spawn, 640, 480)
        self.environment = {
            "PATH": os.environ["PATH"],
            "LANG": "C.UTF-8",
            "DBUS_SESSION_BUS_ADDRESS": bus,
            "DISPLAY": display,
            "NO_AT_BRIDGE": "1",
            "GTK_A11Y": "none",
            "GDK_BACKEND": "x11",
            "QT_QPA_PLATFORM": "xcb",  # Qt's other platforms know no status items
        }

    def _spawn(self, words, **options):
        quiet = subprocess.DEVNULL
        self._children.append(subprocess.Popen(words, stdin=quiet, stdout=quiet, stderr=quiet, **options))

    def has(self, name):
        return (self.programs / name).exists()

    def start(self, name, *arguments, environment=None):
        """`environment`: another session's."""
        words = [self.programs / name, *arguments]
        return Program(name, words, environment or self.environment, self.directory / "home" / name)

    def panel(self):
        """A watcher that reads the item whenever its icon changes."""
        words = ["sh", "-c", 'exec /usr/bin/python3 -B "$0" told >&2', SCRIPTS / "watcher.py"]
        panel = Program("panel", words, self.environment, self.directory / "home/panel")
        panel.hear("ready")
        return panel

    def __exit__(self, *_):
        for child in reversed(self._children):
            child.terminate()
            child.wait()


def cpu(process):
    """Of its threads, in nanoseconds."""
    return sum(int(text.split()[0]) for text in task_files(process, "schedstat"))
