"""Moves KWin's pointer and looks at its screen, as a client of the session's own user, whom alone KWin lets do so.

    kwin_client.py SOCKET WIDTH HEIGHT

A line on standard input is one command, "move X Y", "press BUTTON" or "look". The answer to each is on standard output:
four bytes a pixel to the last, one byte to the others.
"""

import os
import sys
import threading

from gi.repository import Gio, GLib
from wayland_client import WaylandClient, text, words

KWIN, PATH = "org.kde.KWin", "/org/kde/KWin/ScreenShot2"


class FakeInput(WaylandClient):
    """The client's side of org_kde_kwin_fake_input."""

    def __init__(self, path):
        super().__init__(path, "org_kde_kwin_fake_input", 3)
        self.request(self.BOUND, 0, text("tray") + text("tests"))  # authenticate

    def move(self, x, y):
        self.request(self.BOUND, 9, words(x * 256, y * 256))  # pointer_motion_absolute

    def press(self, button):
        for state in (1, 0):
            self.request(self.BOUND, 2, words(button, state))


def look(bus, width, height):
    reader, writer = os.pipe()
    descriptors = Gio.UnixFDList.new()
    handle = descriptors.append(writer)  # a copy, which goes with the list
    os.close(writer)
    pixels = bytearray()

    def read():
        with open(reader, "rb") as pipe:
            pixels.extend(pipe.read())

    reading = threading.Thread(target=read)
    reading.start()
    options = {"native-resolution": GLib.Variant("b", True), "include-cursor": GLib.Variant("b", False)}
    area = GLib.Variant("(iiuua{sv}h)", (0, 0, width, height, options, handle))
    bus.call_with_unix_fd_list_sync(KWIN, PATH, f"{KWIN}.ScreenShot2", "CaptureArea", area, None, 0, 10000, descriptors)
    del descriptors
    reading.join()
    return bytes(pixels)


def main():
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    pointer = FakeInput(sys.argv[1])
    for line in sys.stdin:
        command, *numbers = line.split()
        numbers = map(int, numbers)
        if command == "look":
            answer = look(bus, *map(int, sys.argv[2:]))
        else:
            getattr(pointer, command)(*numbers)
            answer = b"\n"
        sys.stdout.buffer.write(answer)
        sys.stdout.flush()


main()
