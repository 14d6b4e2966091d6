"""A program in a session of private_session."""

import pathlib
import queue
import re
import threading

from servers import DEADLINE


class Host:
    """A program with a tray icon, or a stand-in for a panel.

    Commands go to its standard input. Its lines are read from its standard error if that is a pipe, otherwise from its
    standard output. Lines that begin with "[" are the library's log and are kept apart.
    """

    def __init__(self, process):
        self.process = process
        self.said = []  # every line of its own so far
        self.log = []
        self._news = queue.Queue()
        self._stream = process.stderr or process.stdout
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self._stream:
            line = line.rstrip("\n")
            if line.startswith("["):
                self.log.append(line)
            else:
                self.said.append(line)
                self._news.put(line)
        self._news.put(None)

    def say(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def _next(self, deadline):
        try:
            return self._news.get(timeout=deadline)
        except queue.Empty:
            return "nothing"

    def expect(self, line, deadline=DEADLINE):
        """Waits for its next line; AssertionError if that is not `line`."""
        heard = self._next(deadline)
        if heard != line:
            raise AssertionError(f"the host said {heard!r} instead of {line!r}; its log: {self.log[-5:]}")

    def hear(self, word, deadline=3 * DEADLINE):
        """Waits for the next line that begins with `word` and drops the lines before it; the line's other words."""
        while (heard := self._next(deadline)) not in (None, "nothing"):
            first, *others = heard.split()
            if first == word:
                return others
        raise RuntimeError(f"no line {word!r} after {self.said[-5:]}")

    def tell(self, command):
        """Gives the tests' own host a command, and waits until the command is done."""
        self.say(command)
        self.expect("done: " + command.split()[0])

    def private_memory(self):
        """The program's private memory in KiB."""
        rollup = pathlib.Path(f"/proc/{self.process.pid}/smaps_rollup").read_text()
        return int(re.search(r"^Private_Dirty: +(\d+) kB$", rollup, re.MULTILINE)[1])

    def tasks(self, file):
        """The text of this file in /proc, of each of its threads."""
        return [(task / file).read_text() for task in pathlib.Path(f"/proc/{self.process.pid}/task").iterdir()]

    def wait_end(self, deadline=DEADLINE):
        """Its exit status, once every line was read."""
        status = self.process.wait(deadline)
        self._reader.join(deadline)
        for stream in (self.process.stdin, self._stream):
            stream.close()
        return status

    def kill(self):
        self.process.kill()
        self.wait_end()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.kill()
