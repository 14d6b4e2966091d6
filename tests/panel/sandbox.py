"""A sandbox as Flatpak makes one, in a session of panel_session: its own home, a bus that shows the watcher and the
portals alone. Outside of it a portal that opens nothing, but notes what it is asked for.
"""

import os
import pathlib
import shutil
import subprocess

import panel_session
from gi.repository import Gio, GLib

PORTAL = "org.freedesktop.portal.Desktop"
PORTAL_XML = """<node><interface name="org.freedesktop.portal.OpenURI"><method name="OpenURI">
<arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/>
</method></interface></node>"""


class Sandbox:
    def __init__(self, session):
        """NotInstalled where no sandbox can be made here."""
        missing = [program for program in ("bwrap", "xdg-dbus-proxy") if not shutil.which(program)]
        if missing:
            raise panel_session.NotInstalled(", ".join(missing))
        outside = session.environment["DBUS_SESSION_BUS_ADDRESS"]
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        try:
            self.bus = Gio.DBusConnection.new_for_address_sync(outside, flags, None, None)
        except GLib.Error as error:  # in a session of another user
            raise panel_session.NotInstalled(f"the bus lets nobody in: {error.message}") from error
        self.home = session.directory / "sandboxed"
        self.home.mkdir()
        proxy = session.directory / "proxy"
        information = session.directory / "flatpak-info"
        information.write_text("[Application]\nname=quill.test.Host\n")
        host = pathlib.Path(os.environ["PANEL_HOST"])
        shown = [path for path in ("/usr", "/etc", "/lib", "/lib64", "/bin") if os.path.exists(path)]
        shown += [host.parent, os.environ["LIBRARY_PATH"], *session.directory.glob("*.png")]
        inside = session.environment["XDG_RUNTIME_DIR"] + "/bus"
        self.command = "bwrap --unshare-pid --die-with-parent --proc /proc --dev /dev --tmpfs /tmp".split()
        for path in shown:
            self.command += ["--ro-bind", path, path]
        self.command += ["--ro-bind", information, "/.flatpak-info", "--bind", self.home, session.environment["HOME"]]
        probe = subprocess.run(session.prefix(self.command + ["/bin/true"]), stderr=subprocess.PIPE, text=True)
        if probe.returncode != 0:
            raise panel_session.NotInstalled(f"bwrap is refused: {probe.stderr.strip()}")
        self.command += ["--bind", proxy, inside, "--setenv", "DBUS_SESSION_BUS_ADDRESS", "unix:path=" + inside, host]
        talk = [f"--talk={name}" for name in (panel_session.WATCHER, "org.freedesktop.portal.*")]
        session.spawn(["xdg-dbus-proxy", outside, proxy, "--filter", *talk])
        panel_session.wait_for(proxy.exists, "filtered bus")
        self.urls = []
        interface = Gio.DBusNodeInfo.new_for_xml(PORTAL_XML).interfaces[0]
        self.bus.register_object("/org/freedesktop/portal/desktop", interface, self._open, None, None)
        Gio.bus_own_name_on_connection(self.bus, PORTAL, Gio.BusNameOwnerFlags.NONE, None, None)

    def _open(self, _bus, _sender, _path, _interface, _method, arguments, invocation):
        self.urls.append(arguments.unpack()[1])
        invocation.return_value(GLib.Variant("(o)", ("/org/freedesktop/portal/desktop/request/1",)))

    def url(self):
        """The last one that the portal was asked for."""
        GLib.MainContext.default().iteration(False)
        return self.urls and self.urls[-1]
