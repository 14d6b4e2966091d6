"""A watcher, and a panel that reads: whatever an item signals, all its properties and its whole menu are read.

Each registration is a line on standard output: "registered NAME PATH". The bus that dies ends it.
"""

from gi.repository import Gio, GLib

NAME = "org.kde.StatusNotifierWatcher"
INTERFACE = f"""<node><interface name="{NAME}">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/></interface></node>"""


def ask(bus, name, path, interface, member, arguments=None):
    bus.call(name, path, interface, member, arguments, None, Gio.DBusCallFlags.NONE, -1, None, None)


def read(bus, name):
    for path, interface in (("/StatusNotifierItem", "org.kde.StatusNotifierItem"), ("/MenuBar", "com.canonical.dbusmenu")):
        ask(bus, name, path, "org.freedesktop.DBus.Properties", "GetAll", GLib.Variant("(s)", (interface,)))
    layout = GLib.Variant("(iias)", (0, -1, []))
    ask(bus, name, "/MenuBar", "com.canonical.dbusmenu", "GetLayout", layout)


def on_call(bus, sender, _path, _interface, _method, arguments, invocation):
    print("registered", sender, arguments.unpack()[0], flush=True)
    invocation.return_value(None)
    read(bus, sender)


def main():
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    node = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
    bus.register_object("/StatusNotifierWatcher", node, on_call, lambda *_: GLib.Variant("b", True), None)
    for path in ("/StatusNotifierItem", "/MenuBar"):
        listen = lambda bus, sender, *_: read(bus, sender)  # noqa: E731
        bus.signal_subscribe(None, None, None, path, None, Gio.DBusSignalFlags.NONE, listen)
    Gio.bus_own_name_on_connection(bus, NAME, Gio.BusNameOwnerFlags.REPLACE, None, None)
    GLib.MainLoop().run()


main()
