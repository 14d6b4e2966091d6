"""A host in a session of panel_session."""

import queue
import threading

from servers import DEADLINE


class Host:
    """A program with a tray icon: what it prints can be waited for, what is said to it goes to its standard input.

    Lines that begin with "[" are the library's log and are kept apart.
    """

    def __init__(self, process):
        self.process = process
        self.said = []  # every line of its own so far
        self.log = []
        self._news = queue.Queue()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self.process.stdout:
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

    def expect(self, line, deadline=DEADLINE):
        """Waits for its next line and holds it against `line`."""
        try:
            heard = self._news.get(timeout=deadline)
        except queue.Empty:
            heard = "nothing"
        if heard != line:
            raise AssertionError(f"the host said {heard!r} instead of {line!r}; its log: {self.log[-5:]}")

    def tell(self, command):
        """Gives the tests' own host a command, and waits until it is done."""
        self.say(command)
        self.expect("done: " + command.split()[0])

    def wait_end(self, deadline=DEADLINE):
        """Its exit status, once everything it printed was read."""
        status = self.process.wait(deadline)
        self._reader.join(deadline)
        for stream in (self.process.stdin, self.process.stdout):
            stream.close()
        return status
