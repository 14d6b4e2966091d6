"""Whether anything on this session shows status items: a host may ask before it hides its last window.

    tray_is_there.py    exit status 0: yes; 1: no, or no session bus
"""

import sys

from gi.repository import Gio, GLib

TIMEOUT = 500  # milliseconds


def tray_is_there():
    question = GLib.Variant("(s)", ("org.kde.StatusNotifierWatcher",))
    driver = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")
    try:
        bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        return bus.call_sync(*driver, "NameHasOwner", question, None, Gio.DBusCallFlags.NONE, TIMEOUT)[0]
    except GLib.Error:  # no session bus
        return False


if __name__ == "__main__":
    sys.exit(0 if tray_is_there() else 1)
