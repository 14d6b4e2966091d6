"""A host in Python with a window of GTK 3, which a click and the menu's "Show" bring to the front.

    window.py

There is no Gtk.Application: GTK finds what a Wayland compositor wants to see, as long as the window is presented inside
the callback. The loader has to find libquill_tray_manager.so.1: install it, or name its directory in LD_LIBRARY_PATH.
"""

import ctypes
import json
import signal

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402

tray = ctypes.CDLL("libquill_tray_manager.so.1")
tray.quill_tray_manager_set_main_icon.argtypes = [ctypes.c_char_p, ctypes.c_ssize_t]

ICON = b'<svg xmlns="http://www.w3.org/2000/svg" width="44" height="44"><path d="M6 8h32v28H6zM10 16v16h24V16z" fill-rule="evenodd"/></svg>'
ITEMS = [{"id": "show", "title": "Show"}, {"id": "quit", "title": "Quit", "keyEquivalent": "Cmd+Q"}]

signal.signal(signal.SIGINT, signal.SIG_DFL)  # Python handles signals between its own instructions only
window = Gtk.Window(title="Window of window.py")
window.set_default_size(700, 360)
window.connect("delete-event", lambda *_: window.hide_on_delete())  # it closes into the tray
window.show_all()


@ctypes.CFUNCTYPE(None)
def on_click():
    window.present()


@ctypes.CFUNCTYPE(None, ctypes.c_char_p)
def on_menu_item(identifier):
    if identifier == b"show":
        window.present()
    else:
        Gtk.main_quit()


tray.quill_tray_manager_set_menu_items_json(json.dumps(ITEMS).encode())
tray.quill_tray_manager_set_click_callback(on_click)  # functions at module level: they must outlive their use
tray.quill_tray_manager_set_menu_item_callback(on_menu_item)
tray.quill_tray_manager_create()
tray.quill_tray_manager_set_main_icon(ICON, len(ICON))
Gtk.main()
