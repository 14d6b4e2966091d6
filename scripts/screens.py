"""Displays without a monitor, with a hand on the mouse."""

import contextlib
import os
import socket
import struct
import subprocess
import time

from PIL import Image, ImageGrab
from servers import DEADLINE, start_display, wait_for

LEFT, RIGHT = 1, 3
DESK = "#204060"  # which no bar and no menu has


class XScreen:
    """Xvfb, with xdotool as the hand on the mouse."""

    programs = ("Xvfb", "xsetroot", "xdotool")
    refuses_root = False

    def start(self, session):
        _, self.name = start_display(session.spawn, *session.size)
        session.environment.update(DISPLAY=self.name, GDK_BACKEND="x11", QT_QPA_PLATFORM="xcb")
        session.run(["xsetroot", "-solid", DESK])

    def picture(self):
        return ImageGrab.grab(xdisplay=self.name)

    def _xdotool(self, *words):
        subprocess.run(["xdotool", *map(str, words)], env={**os.environ, "DISPLAY": self.name}, check=True)

    def move(self, x, y):
        self._xdotool("mousemove", x, y)

    def press(self, button):
        self._xdotool("click", button)

    def stop(self):
        pass


class VirtualPointer:
    """A pointer device on a wlroots compositor: the client's side of wlr-virtual-pointer-unstable-v1.

    The device exists as long as the connection, and the seat has a pointer only while a device exists.
    """

    MANAGER = "zwlr_virtual_pointer_manager_v1"
    DISPLAY_ID, REGISTRY_ID, SYNC_ID, MANAGER_ID, POINTER_ID = 1, 2, 3, 4, 5
    BUTTONS = {LEFT: 0x110, RIGHT: 0x111}  # linux/input-event-codes.h

    def __init__(self, path, size):
        self.size = size
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(DEADLINE)
        self.socket.connect(path)
        self._request(self.DISPLAY_ID, 1, struct.pack("=I", self.REGISTRY_ID))  # get_registry
        self._request(self.DISPLAY_ID, 0, struct.pack("=I", self.SYNC_ID))  # sync
        name = self._find_manager()
        interface = self.MANAGER.encode() + b"\0"
        padded = struct.pack("=I", len(interface)) + interface + bytes(-len(interface) % 4)
        self._request(self.REGISTRY_ID, 0, struct.pack("=I", name) + padded + struct.pack("=II", 1, self.MANAGER_ID))
        self._request(self.MANAGER_ID, 0, struct.pack("=II", 0, self.POINTER_ID))  # create_virtual_pointer, any seat

    def _request(self, target, opcode, arguments=b""):
        self.socket.sendall(struct.pack("=IHH", target, opcode, 8 + len(arguments)) + arguments)

    def _read(self, count):
        data = b""
        while len(data) < count:
            piece = self.socket.recv(count - len(data))
            if not piece:
                raise ConnectionError("the compositor hung up")
            data += piece
        return data

    def _find_manager(self):
        found = None
        while True:
            sender, opcode, length = struct.unpack("=IHH", self._read(8))
            body = self._read(length - 8)
            if sender == self.REGISTRY_ID and opcode == 0:  # global: name, interface, version
                name, text_length = struct.unpack_from("=II", body)
                if body[8 : 8 + text_length - 1].decode() == self.MANAGER:
                    found = name
            elif sender == self.SYNC_ID:
                if found is None:
                    raise RuntimeError("the compositor offers no virtual pointer")
                return found

    @staticmethod
    def _now():
        return int(time.monotonic() * 1000) & 0xFFFFFFFF

    def move(self, x, y):
        self._request(self.POINTER_ID, 1, struct.pack("=IIIII", self._now(), x, y, *self.size))  # motion_absolute
        self._request(self.POINTER_ID, 4)  # frame

    def press(self, button):
        for state in (1, 0):
            self._request(self.POINTER_ID, 2, struct.pack("=III", self._now(), self.BUTTONS[button], state))
            self._request(self.POINTER_ID, 4)


class SwayScreen:
    """sway without a monitor, with a virtual pointer as the hand on the mouse."""

    programs = ("sway", "grim")
    refuses_root = True

    def start(self, session):
        told = session.directory / "sway.socket"
        config = session.directory / "sway.conf"
        config.write_text(
            f"output HEADLESS-1 resolution {session.size[0]}x{session.size[1]} position 0 0 bg {DESK} solid_color\n"
            "seat seat0 fallback true\ndefault_border none\n"
            f'exec echo "$WAYLAND_DISPLAY" > {told}\n'
        )
        session.environment.update(
            WLR_BACKENDS="headless",
            WLR_LIBINPUT_NO_DEVICES="1",
            WLR_RENDERER="pixman",
            LIBSEAT_BACKEND="noop",
            XDG_SESSION_TYPE="wayland",
            GDK_BACKEND="wayland",
            QT_QPA_PLATFORM="wayland",
        )
        session.spawn(["sway", "-c", str(config)])
        display = wait_for(lambda: told.exists() and told.read_text().strip(), "sway")
        session.environment["WAYLAND_DISPLAY"] = display
        self.environment = dict(session.environment)
        self.pointer = VirtualPointer(f"{session.environment['XDG_RUNTIME_DIR']}/{display}", session.size)

    def picture(self):
        shot = subprocess.run(["grim", "-t", "ppm", "-"], env=self.environment, check=True, stdout=subprocess.PIPE)
        width, height = map(int, shot.stdout.split(maxsplit=3)[1:3])
        return Image.frombytes("RGB", (width, height), shot.stdout[-3 * width * height :])

    def move(self, x, y):
        self.pointer.move(x, y)

    def press(self, button):
        self.pointer.press(button)

    def stop(self):
        with contextlib.suppress(AttributeError):
            self.pointer.socket.close()
