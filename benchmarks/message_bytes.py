"""Counts the bytes that pass on a bus, by a monitor that speaks D-Bus itself: no binding tells a message's size."""

import os
import socket
import struct
import threading
from collections import Counter

DESTINATION, SENDER = 6, 7  # header fields


def aligned(offset, to):
    return -offset % to + offset


def method_call(serial, path, interface, member, signature="", body=b""):
    """A call to the bus itself."""
    texts = [(1, "o", path), (2, "s", interface), (3, "s", member), (DESTINATION, "s", "org.freedesktop.DBus")]
    fields = b""
    for code, kind, text in texts:
        fields = fields.ljust(aligned(len(fields), 8), b"\0")
        fields += struct.pack("<BB1sxI", code, 1, kind.encode(), len(text)) + text.encode() + b"\0"
    if signature:
        fields = fields.ljust(aligned(len(fields), 8), b"\0")
        fields += struct.pack("<BB1sxB", 8, 1, b"g", len(signature)) + signature.encode() + b"\0"
    header = struct.pack("<cBBBIII", b"l", 1, 0, 1, len(body), serial, len(fields)) + fields
    return header.ljust(aligned(len(header), 8), b"\0") + body


def text_fields(header, order):
    """The text fields of a message's header by their codes."""
    found = {}
    offset, end = 16, 16 + struct.unpack_from(order + "I", header, 12)[0]
    while offset < end:
        offset = aligned(offset, 8)
        code, kind = header[offset], header[offset + 2 : offset + 3]
        offset += 4
        if kind == b"g":
            offset += header[offset] + 2
        elif kind == b"u":
            offset += 4
        else:
            size = struct.unpack_from(order + "I", header, offset)[0]
            found[code] = header[offset + 4 : offset + 4 + size].decode()
            offset += size + 5
    return found


class MessageBytes:
    """The bytes that each connection sent and was sent, by its name, from now on."""

    def __init__(self, socket_path):
        self._counts = Counter()
        self._lock = threading.Lock()
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(socket_path)
        self._stream = self._socket.makefile("rb")
        self._socket.sendall(b"\0AUTH EXTERNAL " + str(os.getuid()).encode().hex().encode() + b"\r\n")
        if not self._stream.readline().startswith(b"OK"):
            raise RuntimeError("the bus does not let the monitor in")
        bus = "/org/freedesktop/DBus", "org.freedesktop.DBus"
        monitoring = "/org/freedesktop/DBus", "org.freedesktop.DBus.Monitoring"
        self._socket.sendall(b"BEGIN\r\n" + method_call(1, *bus, "Hello"))
        everything = struct.pack("<II", 0, 0)  # no rules, no flags
        self._socket.sendall(method_call(2, *monitoring, "BecomeMonitor", "asu", everything))
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def of(self, name):
        with self._lock:
            return self._counts[name]

    def close(self):
        self._socket.shutdown(socket.SHUT_RDWR)
        self._thread.join()
        self._socket.close()

    def _run(self):
        while len(fixed := self._stream.read(16)) == 16:
            order = "<" if fixed[:1] == b"l" else ">"
            body, _, fields = struct.unpack(order + "III", fixed[4:])
            size = aligned(16 + fields, 8)
            header = fixed + self._stream.read(size - 16)
            self._stream.read(body)
            names = text_fields(header, order)
            with self._lock:
                for name in {names.get(SENDER), names.get(DESTINATION)} - {None}:
                    self._counts[name] += size + body
