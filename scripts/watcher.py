"""A watcher, and a panel that reads: watcher.py.

It reads all properties of the item when the item registers and for each of the item's signals; it reads the whole menu
when the item registers and for each line on standard input. It writes lines to standard output: "ready",
"registered NAME PATH", "read" for properties, and "layout COUNT" for a menu with COUNT entries on top. If the bus dies,
the watcher ends.
"""

import sys

from gi.repository import Gio, GLib

NAME = "org.kde.StatusNotifierWatcher"
INTERFACE = f"""<node><interface name="{NAME}">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/></interface></node>"""
ITEM, MENU = "/StatusNotifierItem", "/MenuBar"


class Panel:
    def __init__(self):
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.item = None
        node = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        self.bus.register_object("/StatusNotifierWatcher", node, self.registered, lambda *_: GLib.Variant("b", True), None)
        self.bus.signal_subscribe(None, None, None, ITEM, None, Gio.DBusSignalFlags.NONE, self.read_item)
        GLib.io_add_watch(GLib.IOChannel.unix_new(0), GLib.PRIORITY_DEFAULT, GLib.IOCondition.IN, self.on_line)
        Gio.bus_own_name_on_connection(self.bus, NAME, Gio.BusNameOwnerFlags.REPLACE, self.ready, None)

    @staticmethod
    def ready(*_):
        print("ready", flush=True)

    def call(self, path, interface, member, arguments, line):
        def answered(bus, result):
            try:
                print(line(bus.call_finish(result)), flush=True)
            except GLib.Error:
                pass  # the item has gone, or has no menu

        self.bus.call(self.item, path, interface, member, arguments, None, Gio.DBusCallFlags.NONE, -1, None, answered)

    def read_item(self, *_):
        arguments = GLib.Variant("(s)", ("org.kde.StatusNotifierItem",))
        self.call(ITEM, "org.freedesktop.DBus.Properties", "GetAll", arguments, lambda answer: "read")

    def read_menu(self):
        def entries(answer):
            return f"layout {answer.get_child_value(1).get_child_value(2).n_children()}"

        self.call(MENU, "com.canonical.dbusmenu", "GetLayout", GLib.Variant("(iias)", (0, -1, [])), entries)

    def registered(self, _bus, sender, _path, _interface, _method, arguments, invocation):
        print("registered", sender, arguments.unpack()[0], flush=True)
        self.item = sender
        invocation.return_value(None)
        self.read_item()
        self.read_menu()

    def on_line(self, *_):
        self.read_menu()
        return sys.stdin.readline() != ""


panel = Panel()
GLib.MainLoop().run()
