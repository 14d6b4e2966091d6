"""Windows of one colour, and hosts that present one: windows.py KIND

KIND is a host's toolkit ("gtk4", "gtk4-application" or "qt6"), "opener" for a host without a window that opens
quill-front:x, "handler" for the application of such URLs, or "cover" for a window over all others.
"""

import ctypes
import os
import sys

KIND = sys.argv[1]
COLOUR = "#1010e0" if KIND == "cover" else "#10e010"
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
    for namespace in ("Gdk", "Gtk"):
        gi.require_version(namespace, version)
    from gi.repository import Gdk, Gio, GLib, Gtk

    # Importing Gtk 3 removes the variable. A program in C still has it when it finds the instance that runs already.
    os.environ.update(token)
    if version == "4.0":
        Gtk.init()

    def make_window(application=None):
        window = Gtk.ApplicationWindow(application=application) if application else Gtk.Window()
        window.set_default_size(*SIZE)
        style = Gtk.CssProvider()
        style.load_from_data(f"window {{ background: {COLOUR}; }}".encode())
        if version == "4.0":
            Gtk.StyleContext.add_provider_for_display(Gdk.Display.get_default(), style, 800)
        else:
            Gtk.StyleContext.add_provider_for_screen(Gdk.Screen.get_default(), style, 800)
            window.show_all()
        window.present()
        return window

    if KIND == "opener":
        tray = put_in_tray(lambda: tray.quill_tray_manager_open_url(b"quill-front:x"))
    elif KIND in ("handler", "gtk4-application"):
        application = Gtk.Application(application_id=f"quill.test.{KIND}", flags=Gio.ApplicationFlags.HANDLES_OPEN)
        windows = []

        def present(*_):
            if not windows:
                windows.append(make_window(application))
                if KIND != "handler":
                    put_in_tray(windows[0].present)
            windows[0].present()

        application.connect("activate", present)
        application.connect("open", present)
        return application.run(sys.argv[1:])
    else:
        window = make_window()
        if KIND != "cover":
            put_in_tray(window.present)
    GLib.MainLoop().run()


def run_qt():
    from PyQt6.QtCore import QTimer
    from PyQt6.QtWidgets import QApplication, QWidget

    application = QApplication(sys.argv)
    window = QWidget()
    window.resize(*SIZE)
    window.setStyleSheet(f"background: {COLOUR}")
    window.show()
    QTimer.singleShot(0, lambda: put_in_tray(window.activateWindow))
    application.exec()


run_qt() if KIND == "qt6" else run_gtk("4.0" if "gtk4" in KIND else "3.0")
