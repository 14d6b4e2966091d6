"""The Wayland compositors of Plasma and GNOME without a monitor, with a hand on the mouse."""

import shutil

from PIL import Image
from screens import BUTTONS, XScreen
from servers import wait_for

SOCKET = "tray-session"
CLIENTS = {"WAYLAND_DISPLAY": SOCKET, "GDK_BACKEND": "wayland", "QT_QPA_PLATFORM": "wayland"}


class KWinScreen(XScreen):
    """KWin in a window of Xvfb, because KWin 6 needs a GPU for pictures of a screen without a monitor.

    KWin handles the X server's clicks as a user's and grants activation tokens for them.
    """

    programs = (*XScreen.programs, "kwin_wayland")
    refuses_root = True
    needs_bus = True

    def start(self, session):
        super().start(session)
        # The file capability of KWin, for a real-time priority, prevents a start in a container. A copy has none.
        kwin = shutil.copy(shutil.which("kwin_wayland"), session.directory / "kwin_wayland")
        size = ["--width", session.size[0], "--height", session.size[1]]
        options = ["--socket", SOCKET, "--no-lockscreen", "--no-global-shortcuts", "--no-kactivities"]
        session.spawn([kwin, "--x11-display", self.name, *size, *options])
        wait_for((session.directory / "run" / SOCKET).exists, "kwin")
        wait_for(lambda: session.name_has_owner("org.kde.KWin"), "kwin on the bus")
        del session.environment["DISPLAY"]  # KWin's alone
        session.environment.update(CLIENTS)


# A pointer in the shell itself, because the shell offers input devices to portals alone. A press ends with the frame
# that handles its releases. Otherwise the shell would give the click to what is under the pointer's next place.
POINTER = """const {Clutter, GLib} = imports.gi;
if (!global.quill) {
  const quill = global.quill = {queued: 0, handled: 0};
  const {POINTER_DEVICE} = Clutter.InputDeviceType;
  quill.pointer = Clutter.get_default_backend().get_default_seat().create_virtual_device(POINTER_DEVICE);
  Clutter.Event.add_filter(global.stage, event => {
    quill.queued += event.type() === Clutter.EventType.BUTTON_RELEASE;
    return Clutter.EVENT_PROPAGATE;
  });
  global.stage.connect('after-update', () => { quill.handled = quill.queued; });
}
const now = () => GLib.get_monotonic_time();
const move = (x, y) => global.quill.pointer.notify_absolute_motion(now(), x, y);
const press = (button, times) => {
  const handled = global.quill.handled + times;
  for (let state = 2 * times; state-- > 0;) global.quill.pointer.notify_button(now(), button, state % 2);
  while (global.quill.handled < handled) GLib.MainContext.default().iteration(true);
};
"""


class ShellScreen:
    """GNOME's shell, which is compositor and panel in one, so that there is no screen without the panel."""

    programs = ("gdbus",)
    refuses_root = True
    needs_bus = True
    command = ["gnome-shell", "--headless", "--unsafe-mode", "--wayland", "--no-x11", "--wayland-display", SOCKET]
    command += ["--virtual-monitor", "{}x{}"]

    def start(self, session):
        self.session = session
        session.environment.update(CLIENTS)

    def _is_up(self):
        return self.session.name_has_owner("org.gnome.Shell.Screenshot")

    def _call(self, name, path, method, *arguments):
        call = ["gdbus", "call", "--session", "--dest", name, "--object-path", path, "--method"]
        return self.session.run([*call, f"{name}.{method}", *arguments])

    def picture(self):
        if not self._is_up():
            return Image.new("RGB", self.session.size)
        file = self.session.directory / "run/screen.png"
        file.unlink(missing_ok=True)
        self._call("org.gnome.Shell.Screenshot", "/org/gnome/Shell/Screenshot", "Screenshot", "false", "false", file)
        with Image.open(file) as picture:
            return picture.convert("RGB")

    def _point(self, step):
        answer = self._call("org.gnome.Shell", "/org/gnome/Shell", "Eval", f"{POINTER} {step}; 1")
        if not answer.startswith("(true"):
            raise RuntimeError(f"the shell refuses: {answer}")

    def move(self, x, y):
        if self._is_up():
            self._point(f"move({x}, {y})")

    def press(self, button, times=1):
        name = {0x110: "PRIMARY", 0x111: "SECONDARY"}[BUTTONS[button]]
        self._point(f"press(Clutter.BUTTON_{name}, {times})")

    def stop(self):
        pass
