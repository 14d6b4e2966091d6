"""Counts the bytes that pass on a bus."""

import struct
import subprocess
import threading

PCAP_HEADER = 24  # of the file; each message has a header of four 32-bit words of its own, its size the third


class MessageBytes:
    """The bytes of all messages from and to one connection, from now on."""

    def __init__(self, address, connection):
        rules = f"sender='{connection}'", f"destination='{connection}'"
        words = ["dbus-monitor", "--address", address, "--pcap", *rules]
        self._monitor = subprocess.Popen(words, stdout=subprocess.PIPE)
        self._monitor.stdout.read(PCAP_HEADER)
        while b"NameLost" not in self._next():  # with its name it loses its voice: it listens now
            pass
        self.count = 0
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def close(self):
        self._monitor.terminate()
        self._monitor.wait()
        self._thread.join()
        self._monitor.stdout.close()

    def _next(self):
        header = self._monitor.stdout.read(16)
        return self._monitor.stdout.read(struct.unpack("=IIII", header)[2]) if header else b""

    def _run(self):
        while message := self._next():
            self.count += len(message)
