"""Windows, and hosts that present one: windows.py KIND

KIND is a host's toolkit ("gtk4" or "qt6"), "opener" for a host without a window that opens quill-front:x, "handler" for
the application of such URLs, or "cover" for a blue window over all others.
"""

import ctypes
import os
import sys

KIND = sys.argv[1]
SIZE = 700, 360
ICON = b'<svg xmlns="http://www.w3.org/2000/svg" width="64" height="64"><path d="M8 8h48v48H8z"/></svg>'


def put_in_tray(on_event):
    """`on_event` is called for a click and for a choice."""
    tray = ctypes.CDLL("libquill_tray_manager.so.1")
    click = ctypes.CFUNCTYPE(None)(on_event)
    choose = ctypes.CFUNCTYPE(None, ctypes.c_char_p)(lambda _: on_event())
    put_in_tray.kept = click, choose
    tray.quill_tray_manager_set_click_callback(click)
    tray.quill_tray_manager_set_menu_item_callback(choose)
    tray.quill_tray_manager_set_menu_items_json(b'[{"id": "show", "title": "Show"}, {"id": "other", "title": "Other"}]')
    tray.quill_tray_manager_create()
    tray.quill_tray_manager_set_main_icon(ICON, ctypes.c_ssize_t(len(ICON)))
    return tray


def run_gtk(version):
    import gi

    token = {name: value for name, value in os.environ.items() if name == "DESKTOP_STARTUP_ID"}
    gi.require_version("Gtk", version)
    from gi.repository import Gio, GLib, Gtk

    # Importing Gtk 3 removes the variable. A program in C still has it when it finds the instance that runs already.
    os.environ.update(token)
    if KIND == "opener":
        tray = put_in_tray(lambda: tray.quill_tray_manager_open_url(b"quill-front:x"))
        GLib.MainLoop().run()
    application = Gtk.Application(application_id=f"quill.test.{KIND}", flags=Gio.ApplicationFlags.HANDLES_OPEN)

    def present(*_):
        if not application.get_windows():
            window = Gtk.ApplicationWindow(application=application)
            window.set_default_size(*SIZE)
            if KIND != "handler":
                put_in_tray(window.present)
        application.get_windows()[0].present()

    application.connect("activate", present)
    application.connect("open", present)
    application.run(sys.argv[1:])


def run_qt():
    from PyQt6.QtWidgets import QApplication, QWidget

    application = QApplication(sys.argv)
    window = QWidget()
    window.resize(*SIZE)
    if KIND == "cover":
        window.setStyleSheet("background: #1010e0")
    else:
        put_in_tray(window.activateWindow)
    window.show()
    application.exec()


run_qt() if KIND in ("qt6", "cover") else run_gtk("4.0" if KIND == "gtk4" else "3.0")
