"""A sandbox as Flatpak makes one, in a session of panel_session: its own home, a bus that shows the watcher and the
portals alone. Run as a program, a portal outside of it that opens nothing, but prints what it is asked for.
"""

import os
import pathlib
import subprocess

import panel_session
from gi.repository import Gio, GLib

TALK = [f"--talk={name}" for name in (panel_session.WATCHER, "org.freedesktop.portal.*")]
PORTAL = "org.freedesktop.portal.Desktop"
PORTAL_XML = """<node><interface name="org.freedesktop.portal.OpenURI"><method name="OpenURI">
<arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/>
</method></interface></node>"""


class Sandbox:
    def __init__(self, session, host):
        """`host` is the command's program. NotInstalled where no sandbox can be made here."""
        self.home = session.directory / "sandboxed"
        self.home.mkdir()
        proxy = session.directory / "proxy"
        information = session.directory / "flatpak-info"
        information.write_text("[Application]\nname=quill.test.Host\n")
        outside = session.environment["DBUS_SESSION_BUS_ADDRESS"]
        self.command = "bwrap --unshare-pid --die-with-parent --proc /proc --dev /dev --tmpfs /tmp".split()
        pictures = session.directory.glob("*.png")
        for path in ("/usr", "/etc", "/lib", "/lib64", "/bin", host.parent, os.environ["LIBRARY_PATH"], *pictures):
            self.command += ["--ro-bind-try", path, path]
        self.command += ["--ro-bind", information, "/.flatpak-info", "--bind", self.home, session.environment["HOME"]]
        probe = session.prefix([*self.command, "xdg-dbus-proxy", "--version"])
        # A screen that refuses root has another user, whom the sandbox leaves without rights to root's files.
        if session.screen.refuses_root or subprocess.run(probe, capture_output=True).returncode != 0:
            raise panel_session.NotInstalled("bwrap, xdg-dbus-proxy or the right to use them")
        self.command += ["--bind", proxy, outside.removeprefix("unix:path="), host]
        session.spawn(["xdg-dbus-proxy", outside, proxy, "--filter", *TALK])
        panel_session.wait_for(proxy.exists, "filtered bus")


def open_uri(_bus, _sender, _path, _interface, _method, arguments, invocation):
    print(arguments.unpack()[1], flush=True)
    invocation.return_value(GLib.Variant("(o)", ("/org/freedesktop/portal/desktop/request/1",)))


if __name__ == "__main__":
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    interface = Gio.DBusNodeInfo.new_for_xml(PORTAL_XML).interfaces[0]
    bus.register_object("/org/freedesktop/portal/desktop", interface, open_uri, None, None)
    Gio.bus_own_name_on_connection(bus, PORTAL, Gio.BusNameOwnerFlags.NONE, lambda *_: print("ready", flush=True), None)
    GLib.MainLoop().run()
