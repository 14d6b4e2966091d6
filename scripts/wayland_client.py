"""A client of a Wayland compositor, as far as a virtual pointer needs one."""

import socket
import struct

from servers import DEADLINE


def words(*values):
    return struct.pack(f"={len(values)}I", *(value & 0xFFFFFFFF for value in values))


def text(value):
    data = value.encode() + b"\0"
    return words(len(data)) + data + bytes(-len(data) % 4)


class WaylandClient:
    """Binds one global, as the object BOUND. What is made through it exists as long as the connection."""

    DISPLAY, REGISTRY, SYNC, BOUND, NEXT = 1, 2, 3, 4, 5  # ids of objects

    def __init__(self, path, interface, version):
        """ConnectionError where the compositor does not offer the interface, in this version or a later one."""
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(DEADLINE)
        self.socket.connect(path)
        self.request(self.DISPLAY, 1, words(self.REGISTRY))  # get_registry
        self.request(self.DISPLAY, 0, words(self.SYNC))  # sync
        name = self._find(interface, version)
        self.request(self.REGISTRY, 0, words(name) + text(interface) + words(version, self.BOUND))  # bind

    def request(self, target, opcode, arguments=b""):
        self.socket.sendall(struct.pack("=IHH", target, opcode, 8 + len(arguments)) + arguments)

    def _read(self, count):
        data = b""
        while len(data) < count:
            piece = self.socket.recv(count - len(data))
            if not piece:
                raise ConnectionError("the compositor hung up")
            data += piece
        return data

    def _find(self, interface, version):
        found = None
        while True:
            sender, opcode, length = struct.unpack("=IHH", self._read(8))
            body = self._read(length - 8)
            if sender == self.REGISTRY and opcode == 0:  # global: name, interface, version
                name, text_length = struct.unpack_from("=II", body)
                offered = body[8 : 8 + text_length - 1].decode()
                if offered == interface and struct.unpack("=I", body[-4:])[0] >= version:
                    found = name
            elif sender == self.SYNC:
                if found is None:
                    raise ConnectionError(f"the compositor offers no {interface}")
                return found
