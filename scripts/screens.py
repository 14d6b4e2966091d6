"""Displays without a monitor, with a hand on the mouse."""

import contextlib
import os
import subprocess
import time

from PIL import Image, ImageGrab
from servers import start_display, wait_for
from wayland_client import WaylandClient, words

LEFT, RIGHT = 1, 3
DESK = "#204060"  # which no bar and no menu has


class XScreen:
    """Xvfb, with xdotool as the hand on the mouse."""

    programs = ("Xvfb", "xsetroot", "xdotool")
    refuses_root = False
    needs_bus = False

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

    def press(self, button, times=1):
        self._xdotool("click", "--repeat", times, button)

    def stop(self):
        pass


BUTTONS = {LEFT: 0x110, RIGHT: 0x111}  # linux/input-event-codes.h


class VirtualPointer(WaylandClient):
    """A pointer device on a wlroots compositor: the client's side of wlr-virtual-pointer-unstable-v1.

    The seat has a pointer only while a device exists.
    """

    def __init__(self, path, size):
        super().__init__(path, "zwlr_virtual_pointer_manager_v1", 1)
        self.size = size
        self.request(self.BOUND, 0, words(0, self.NEXT))  # create_virtual_pointer, any seat

    @staticmethod
    def _now():
        return int(time.monotonic() * 1000)

    def move(self, x, y):
        self.request(self.NEXT, 1, words(self._now(), x, y, *self.size))  # motion_absolute
        self.request(self.NEXT, 4)  # frame

    def press(self, button):
        for state in (1, 0):
            self.request(self.NEXT, 2, words(self._now(), BUTTONS[button], state))
            self.request(self.NEXT, 4)


class SwayScreen:
    """sway without a monitor, with a virtual pointer as the hand on the mouse."""

    programs = ("sway", "grim")
    refuses_root = True
    needs_bus = False

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

    def press(self, button, times=1):
        for _ in range(times):
            self.pointer.press(button)

    def stop(self):
        with contextlib.suppress(AttributeError):
            self.pointer.socket.close()
