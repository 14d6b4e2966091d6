"""A watcher, and a panel that reads: watcher.py [told].

Each registration is a line on standard output: "registered NAME PATH". All properties of the item, and its whole menu,
are read when the item registers and again for each of their signals. With "told", the menu is read for each line on
standard input instead, and further lines are "ready", "read" for properties, and "layout COUNT" for a menu with COUNT
entries on top. The bus that dies ends the watcher.
"""

import sys

from gi.repository import Gio, GLib

NAME = "org.kde.StatusNotifierWatcher"
INTERFACE = f"""<node><interface name="{NAME}">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/></interface></node>"""
ITEM, MENU = "/StatusNotifierItem", "/MenuBar"
TOLD = sys.argv[1:] == ["told"]


def report(line):
    if TOLD:
        print(line, flush=True)


class Panel:
    def __init__(self):
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.item = None
        node = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        self.bus.register_object("/StatusNotifierWatcher", node, self.registered, lambda *_: GLib.Variant("b", True), None)
        for path, read in ((ITEM, self.read_item), *([] if TOLD else [(MENU, self.read_menu)])):
            self.bus.signal_subscribe(None, None, None, path, None, Gio.DBusSignalFlags.NONE, read)
        if TOLD:
            GLib.io_add_watch(GLib.IOChannel.unix_new(0), GLib.PRIORITY_DEFAULT, GLib.IOCondition.IN, self.told)
        Gio.bus_own_name_on_connection(self.bus, NAME, Gio.BusNameOwnerFlags.REPLACE, None, None)

    def call(self, path, interface, member, arguments, done):
        def answered(bus, result):
            try:
                report(done(bus.call_finish(result)))
            except GLib.Error:
                pass  # it went, or has no menu

        self.bus.call(self.item, path, interface, member, arguments, None, Gio.DBusCallFlags.NONE, -1, None, answered)

    def read_item(self, *_):
        arguments = GLib.Variant("(s)", ("org.kde.StatusNotifierItem",))
        self.call(ITEM, "org.freedesktop.DBus.Properties", "GetAll", arguments, lambda answer: "read")

    def read_menu(self, *_):
        def entries(answer):
            return f"layout {answer.get_child_value(1).get_child_value(2).n_children()}"

        self.call(MENU, "com.canonical.dbusmenu", "GetLayout", GLib.Variant("(iias)", (0, -1, [])), entries)

    def registered(self, _bus, sender, _path, _interface, _method, arguments, invocation):
        print("registered", sender, arguments.unpack()[0], flush=True)
        self.item = sender
        invocation.return_value(None)
        self.read_item()
        if not TOLD:
            self.read_menu()

    def told(self, *_):
        self.read_menu()
        return sys.stdin.readline() != ""


panel = Panel()
report("ready")
GLib.MainLoop().run()
