"""A private desktop session with one real panel in it, driven from outside.

    with PanelSession("xfce4-panel", theme="dark") as session:
        host = session.start_host(["build/release/examples/example_c"])
        icon = session.wait_for_icon()
        session.click(LEFT, icon.box.centre)
        host.expect("clicked")

Everything lives below one temporary directory: home, XDG directories, the session bus, the display. Nothing of
the user's own session is read or changed, and every process of the session ends with it. Times are in seconds,
places in pixels from the screen's top left.
"""

import contextlib
import os
import pathlib
import queue
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import threading
import time
from collections import Counter
from dataclasses import dataclass, field
from typing import Callable, NamedTuple

from PIL import Image, ImageChops, ImageGrab

LEFT, RIGHT = 1, 3
DEADLINE = 20.0  # for one step; a healthy panel takes a small part of it
WATCHER = "org.kde.StatusNotifierWatcher"
UNPRIVILEGED = 65534  # nobody: any user but root will do whom the bus finds among the system's users
ACCESSIBLE = {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}  # GTK asks the bus
NOT_ACCESSIBLE = {"NO_AT_BRIDGE": "1", "GTK_A11Y": "none"}


class NotInstalled(Exception):
    """A program that this panel needs is missing."""


def wait_for(condition, what, deadline=DEADLINE, pause=0.05):
    """The first true value of `condition()`; TimeoutError that names `what` when there is none in time."""
    end = time.monotonic() + deadline
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise TimeoutError(f"no {what} within {deadline:g} s")
        time.sleep(pause)


# --- pictures -------------------------------------------------------------------------------------------------


class Box(NamedTuple):
    left: int
    top: int
    right: int
    bottom: int

    @property
    def width(self):
        return self.right - self.left

    @property
    def height(self):
        return self.bottom - self.top

    @property
    def centre(self):
        return (self.left + self.right) // 2, (self.top + self.bottom) // 2


def changed_box(before, after, within=None):
    """The smallest box around what differs visibly between two pictures, or None."""
    difference = ImageChops.difference(before, after).convert("L").point(lambda level: 255 if level > 6 else 0)
    if within:
        inside = Image.new("L", difference.size)
        inside.paste(difference.crop(within), within[:2])
        difference = inside
    box = difference.getbbox()
    return Box(*box) if box else None


def luminance(colour):
    linear = [c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055) ** 2.4 for c in (v / 255 for v in colour)]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(first, second):
    """The contrast ratio of two colours as WCAG defines it, 1 to 21."""
    low, high = sorted((luminance(first), luminance(second)))
    return (high + 0.05) / (low + 0.05)


def main_colour(picture, box):
    return Counter(picture.crop(box).getdata()).most_common(1)[0][0]


def icon_contrast(picture, icon):
    """The best contrast, against what lies under it, of a colour that covers at least 3 % of the icon's box."""
    colours = Counter(picture.crop(icon.box).getdata())
    least = 0.03 * icon.box.width * icon.box.height
    return max(contrast(colour, icon.ground) for colour, count in colours.items() if count >= least)


def text_rows(picture, box, inset=3):
    """The lines of text in a menu, top to bottom, as boxes; rules between entries are too thin to count."""
    inner = Box(box.left + inset, box.top + inset, box.right - inset, box.bottom - inset)
    menu = picture.crop(inner)
    ground = Image.new("RGB", menu.size, main_colour(picture, inner))
    ink = ImageChops.difference(menu, ground).convert("L").point(lambda level: 255 if level > 24 else 0)
    bands = []
    for y in range(ink.height):
        if not ink.crop((0, y, ink.width, y + 1)).getbbox():
            continue
        if bands and y - bands[-1][1] <= 3:  # strokes of one character may leave rows between them empty
            bands[-1][1] = y + 1
        else:
            bands.append([y, y + 1])
    return [Box(inner.left, inner.top + top, inner.right, inner.top + bottom) for top, bottom in bands if bottom - top >= 5]


class Icon(NamedTuple):
    box: Box
    ground: tuple  # the colour under it


@dataclass
class OpenMenu:
    picture: Image.Image
    box: Box
    entries: list  # one box for each entry, separators left out


# --- displays -------------------------------------------------------------------------------------------------


class XScreen:
    """Xvfb, with xdotool as the hand on the mouse."""

    programs = ("Xvfb", "xdotool")
    refuses_root = False

    def start(self, session):
        reader, writer = os.pipe()
        session.spawn(
            ["Xvfb", "-displayfd", str(writer), "-screen", "0", "%dx%dx24" % session.size, "-nolisten", "tcp", "-noreset"],
            pass_fds=[writer],
        )
        os.close(writer)
        with open(reader, encoding="ascii") as number:
            self.name = ":" + number.readline().strip()
        if self.name == ":":
            raise RuntimeError("Xvfb did not start: " + session.log_tail())
        session.environment.update(DISPLAY=self.name, GDK_BACKEND="x11", QT_QPA_PLATFORM="xcb")

    def picture(self):
        return ImageGrab.grab(xdisplay=self.name)

    def _xdotool(self, *words):
        subprocess.run(["xdotool", *map(str, words)], env={**os.environ, "DISPLAY": self.name}, check=True)

    def move(self, x, y):
        self._xdotool("mousemove", x, y)

    def press(self, button):
        self._xdotool("click", button)

    def stop(self):
        pass


class VirtualPointer:
    """A pointer device on a wlroots compositor: the client's side of wlr-virtual-pointer-unstable-v1.

    The device exists as long as the connection, and the seat has a pointer only while a device exists.
    """

    MANAGER = "zwlr_virtual_pointer_manager_v1"
    DISPLAY_ID, REGISTRY_ID, SYNC_ID, MANAGER_ID, POINTER_ID = 1, 2, 3, 4, 5
    BUTTONS = {LEFT: 0x110, RIGHT: 0x111}  # linux/input-event-codes.h

    def __init__(self, path, size):
        self.size = size
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(DEADLINE)
        self.socket.connect(path)
        self._request(self.DISPLAY_ID, 1, struct.pack("=I", self.REGISTRY_ID))  # get_registry
        self._request(self.DISPLAY_ID, 0, struct.pack("=I", self.SYNC_ID))  # sync
        name = self._find_manager()
        interface = self.MANAGER.encode() + b"\0"
        padded = struct.pack("=I", len(interface)) + interface + bytes(-len(interface) % 4)
        self._request(self.REGISTRY_ID, 0, struct.pack("=I", name) + padded + struct.pack("=II", 1, self.MANAGER_ID))
        self._request(self.MANAGER_ID, 0, struct.pack("=II", 0, self.POINTER_ID))  # create_virtual_pointer, any seat

    def _request(self, target, opcode, arguments=b""):
        self.socket.sendall(struct.pack("=IHH", target, opcode, 8 + len(arguments)) + arguments)

    def _read(self, count):
        data = b""
        while len(data) < count:
            piece = self.socket.recv(count - len(data))
            if not piece:
                raise ConnectionError("the compositor hung up")
            data += piece
        return data

    def _find_manager(self):
        found = None
        while True:
            sender, opcode, length = struct.unpack("=IHH", self._read(8))
            body = self._read(length - 8)
            if sender == self.REGISTRY_ID and opcode == 0:  # global: name, interface, version
                name, text_length = struct.unpack_from("=II", body)
                if body[8 : 8 + text_length - 1].decode() == self.MANAGER:
                    found = name
            elif sender == self.SYNC_ID:
                if found is None:
                    raise RuntimeError("the compositor offers no virtual pointer")
                return found

    @staticmethod
    def _now():
        return int(time.monotonic() * 1000) & 0xFFFFFFFF

    def move(self, x, y):
        self._request(self.POINTER_ID, 1, struct.pack("=IIIII", self._now(), x, y, *self.size))  # motion_absolute
        self._request(self.POINTER_ID, 4)  # frame

    def press(self, button):
        for state in (1, 0):
            self._request(self.POINTER_ID, 2, struct.pack("=III", self._now(), self.BUTTONS[button], state))
            self._request(self.POINTER_ID, 4)


class SwayScreen:
    """sway without a monitor, with a virtual pointer as the hand on the mouse."""

    programs = ("sway", "grim")
    refuses_root = True

    def start(self, session):
        told = session.directory / "sway.socket"
        config = session.directory / "sway.conf"
        config.write_text(
            f"output HEADLESS-1 resolution {session.size[0]}x{session.size[1]} position 0 0 bg #204060 solid_color\n"
            "seat seat0 fallback true\ndefault_border none\n"
            f'exec echo "$WAYLAND_DISPLAY" > {told}\n'
        )
        session.environment.update(
            WLR_BACKENDS="headless",
            WLR_LIBINPUT_NO_DEVICES="1",
            WLR_RENDERER="pixman",
            LIBSEAT_BACKEND="noop",
            XDG_SESSION_TYPE="wayland",
            GDK_BACKEND="wayland",
            QT_QPA_PLATFORM="wayland",
        )
        session.spawn(["sway", "-c", str(config)])
        display = wait_for(lambda: told.exists() and told.read_text().strip(), "sway")
        session.environment["WAYLAND_DISPLAY"] = display
        self.environment = dict(session.environment)
        self.pointer = VirtualPointer(f"{session.environment['XDG_RUNTIME_DIR']}/{display}", session.size)

    def picture(self):
        shot = subprocess.run(["grim", "-t", "ppm", "-"], env=self.environment, check=True, stdout=subprocess.PIPE)
        width, height = map(int, shot.stdout.split(maxsplit=3)[1:3])
        return Image.frombytes("RGB", (width, height), shot.stdout[-3 * width * height :])

    def move(self, x, y):
        self.pointer.move(x, y)

    def press(self, button):
        self.pointer.press(button)

    def stop(self):
        with contextlib.suppress(AttributeError):
            self.pointer.socket.close()


# --- panels ---------------------------------------------------------------------------------------------------


@dataclass(frozen=True)
class Panel:
    """How to bring a panel up with a tray in it and nothing else that moves."""

    screen: type
    command: list
    configure: Callable  # (session): writes configuration files
    bar: Callable  # (width, height) of the screen: the bar's box
    themes: tuple = ("default",)
    colours: tuple = ()  # further themes that are a bar of one colour
    companions: tuple = ()  # commands that run beside it, such as a window manager
    environment: dict = field(default_factory=dict)
    handle: int = 0  # columns at the bar's start in which the tray may paint a handle at any time
    has_accessible_icons: bool = False  # shows its icons in the session's accessibility tree
    padding: int = 0  # columns beside the icons that the panel paints only while it has icons
    switch_theme: Callable = None  # (session, theme), while the panel runs

    @property
    def programs(self):
        return (*self.screen.programs, "dbus-daemon", self.command[0], *(words[0] for words in self.companions))


def gtk_settings(session, theme, icons="Adwaita"):
    session.write("gtk-3.0/settings.ini", f"[Settings]\ngtk-theme-name={theme}\ngtk-icon-theme-name={icons}\n")


def configure_xfce(session):
    gtk_settings(session, "Adwaita")
    session.write(
        "xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml",
        f"""<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="{str(session.theme == "dark").lower()}"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="32"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray">
      <property name="square-icons" type="bool" value="true"/>
    </property>
  </property>
</channel>
""",
    )


def switch_xfce(session, theme):
    session.run(["xfconf-query", "-c", "xfce4-panel", "-p", "/panels/dark-mode", "-s", str(theme == "dark").lower()])


def configure_waybar(session):
    gtk_settings(session, "Adwaita")
    session.write("waybar/config", '{"layer": "top", "position": "top", "height": 30, "modules-right": ["tray"]}\n')


def switch_waybar(session, theme):
    """Its own style, or a bar of one colour."""
    style = session.directory / "config/waybar/style.css"
    style.unlink(missing_ok=True)
    if theme.startswith("#"):
        style.write_text(f"window#waybar, #tray {{ background: {theme}; border: none; }}\n")
        style.chmod(0o644)
    session.panel_process.send_signal(signal.SIGUSR2)  # reads its configuration anew


def switch_lxqt(session, theme):
    look = {"default": "Clearlooks"}.get(theme, theme)
    session.write("lxqt/lxqt.conf", f"[General]\ntheme={look}\nicon_theme=Adwaita\n")


def configure_lxqt(session):
    switch_lxqt(session, session.theme)
    session.write(
        "lxqt/panel.conf",
        """panels=panel1

[General]
__userfile__=true

[panel1]
position=Bottom
panelSize=32
iconSize=22
width=100
width-percent=true
animation-duration=0
plugins=statusnotifier

[statusnotifier]
type=statusnotifier
alignment=Right
""",
    )


def configure_mate(session):
    gtk_settings(session, "Menta", "menta")
    switch_mate(session, session.theme)


def switch_mate(session, theme):
    """The default theme's background, or a dark one."""
    background = {"default": "none"}.get(theme, "color")
    session.write(
        "glib-2.0/settings/keyfile",
        f"""[org/mate/panel/general]
toplevel-id-list=['bar']
object-id-list=['tray']

[org/mate/panel/toplevels/bar]
orientation='top'
expand=true
size=26

[org/mate/panel/objects/tray]
object-type='applet'
applet-iid='NotificationAreaAppletFactory::NotificationArea'
toplevel-id='bar'
position=0
locked=true

[org/mate/panel/toplevels/bar/background]
type='{background}'
color='rgb(24,24,28)'
""",
    )


PANELS = {
    "xfce4-panel": Panel(
        screen=XScreen,
        command=["xfce4-panel", "--disable-wm-check"],
        configure=configure_xfce,
        bar=lambda width, height: Box(0, 0, width, 32),
        themes=("dark", "light"),
        switch_theme=switch_xfce,
    ),
    "waybar": Panel(
        screen=SwayScreen,
        command=["waybar"],
        configure=configure_waybar,
        bar=lambda width, height: Box(0, 0, width, 30),
        padding=10,
        themes=("default", "#ffffff"),
        colours=("#ffffff", "#000000", "#2980b9", "#767676"),
        switch_theme=switch_waybar,
    ),
    "lxqt-panel": Panel(
        screen=XScreen,
        command=["lxqt-panel"],
        configure=configure_lxqt,
        themes=("default", "dark"),
        switch_theme=switch_lxqt,
        has_accessible_icons=True,
        bar=lambda width, height: Box(0, height - 32, width, height),
        companions=(["openbox"],),
        environment={"XDG_CURRENT_DESKTOP": "LXQt", "QT_QPA_PLATFORMTHEME": "lxqt"},
    ),
    "mate-panel": Panel(
        screen=XScreen,
        command=["mate-panel"],
        configure=configure_mate,
        themes=("default", "dark"),
        switch_theme=switch_mate,
        has_accessible_icons=True,
        bar=lambda width, height: Box(0, 0, width, 26),
        companions=(["openbox"],),
        handle=11,
        environment={"XDG_CURRENT_DESKTOP": "MATE"},
    ),
}


# --- the session ----------------------------------------------------------------------------------------------


class Host:
    """A program with a tray icon: what it prints can be waited for, what is said to it goes to its standard input.

    Lines that begin with "[" are the library's log and are kept apart.
    """

    def __init__(self, process):
        self.process = process
        self.said = []  # every line of its own so far
        self.log = []
        self._news = queue.Queue()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self.process.stdout:
            line = line.rstrip("\n")
            if line.startswith("["):
                self.log.append(line)
            else:
                self.said.append(line)
                self._news.put(line)
        self._news.put(None)

    def say(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def expect(self, line, deadline=DEADLINE):
        """Waits for its next line and holds it against `line`."""
        try:
            heard = self._news.get(timeout=deadline)
        except queue.Empty:
            heard = "nothing"
        if heard != line:
            raise AssertionError(f"the host said {heard!r} instead of {line!r}; its log: {self.log[-5:]}")

    def wait_end(self, deadline=DEADLINE):
        """Its exit status, once everything it printed was read."""
        status = self.process.wait(deadline)
        self._reader.join(deadline)
        for stream in (self.process.stdin, self.process.stdout):
            stream.close()
        return status


class PanelSession:
    def __init__(self, panel, theme=None, size=(800, 480)):
        self.name = panel
        self.panel = PANELS[panel]
        self.theme = self.look = theme or self.panel.themes[0]  # at first, and now
        self.size = size
        missing = [program for program in self.panel.programs if not shutil.which(program)]
        if missing:
            raise NotInstalled(", ".join(missing))
        self.bar = self.panel.bar(*size)
        self.icons = self.bar._replace(left=self.bar.left + self.panel.handle)
        self.desk = Box(0, 0, size[0], self.bar.top) if self.bar.top else Box(0, self.bar.bottom, *size)
        self.aside = self.desk.centre
        self.screen = self.panel.screen()
        self.panel_process = None
        self._children = []
        self.empty = None  # the screen before there was an item
        # A compositor that refuses root gets another user, who may still read what root may.
        self._prefix = ["setpriv", "--pdeathsig", "KILL"]
        self._other_user = self.screen.refuses_root and os.getuid() == 0
        if self._other_user:
            self._prefix += [f"--reuid={UNPRIVILEGED}", f"--regid={UNPRIVILEGED}", "--clear-groups"]
            self._prefix += ["--inh-caps=+dac_override", "--ambient-caps=+dac_override"]

    # The life of the session

    def __enter__(self):
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="tray-session-"))
        try:
            self._start()
        except BaseException:
            self.stop()
            raise
        return self

    def __exit__(self, *_):
        self.stop()

    def _start(self):
        self.environment = {
            "PATH": os.environ["PATH"],
            "LANG": "C.UTF-8",
            "LC_ALL": "C.UTF-8",
            **(ACCESSIBLE if self.panel.has_accessible_icons else NOT_ACCESSIBLE),
            "GIO_USE_VFS": "local",
            "GSETTINGS_BACKEND": "keyfile",
            **self.panel.environment,
        }
        for variable, name in (
            ("HOME", "home"),
            ("XDG_CONFIG_HOME", "config"),
            ("XDG_DATA_HOME", "data"),
            ("XDG_CACHE_HOME", "cache"),
            ("XDG_STATE_HOME", "state"),
            ("XDG_RUNTIME_DIR", "run"),
        ):
            (self.directory / name).mkdir(mode=0o700)
            self.environment[variable] = str(self.directory / name)
        self.panel.configure(self)
        if self._other_user:
            for path in (self.directory, *self.directory.rglob("*")):
                os.chown(path, UNPRIVILEGED, UNPRIVILEGED)
        self.screen.start(self)
        self._start_bus()
        for words in self.panel.companions:
            self.spawn(words)
        self.screen.move(*self.aside)
        self.start_panel()
        self.empty = self.settled()

    def _start_bus(self):
        reader, writer = os.pipe()
        self.spawn(["dbus-daemon", "--session", "--nofork", "--nopidfile", f"--print-address={writer}"], pass_fds=[writer])
        os.close(writer)
        with open(reader, encoding="ascii") as address:
            self.environment["DBUS_SESSION_BUS_ADDRESS"] = address.readline().strip()
        if self.panel.has_accessible_icons:
            self.spawn(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"])
            wait_for(lambda: self._name_has_owner("org.a11y.Bus"), "accessibility bus")

    def stop(self):
        """Ends every process that was started in this session, by it or by others, and removes its files."""
        self.screen.stop()
        for end in (signal.SIGTERM, signal.SIGKILL):
            for pid in self._processes():
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, end)
            with contextlib.suppress(TimeoutError):
                wait_for(lambda: not self._processes(), "end of the session", 2)
        for child in self._children:
            child.wait()
        shutil.rmtree(self.directory, ignore_errors=True)

    def _processes(self):
        """Processes that carry this session's runtime directory in their environment; zombies carry nothing."""
        mark = b"XDG_RUNTIME_DIR=" + str(self.directory / "run").encode() + b"\0"
        found = []
        for environment in pathlib.Path("/proc").glob("[0-9]*/environ"):
            with contextlib.suppress(OSError):
                if mark in environment.read_bytes():
                    found.append(int(environment.parent.name))
        return found

    def write(self, name, text):
        """A file below the session's configuration directory."""
        path = self.directory / "config" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def prefix(self, words):
        """A command as it is run in the session: by its user, and ended with this process."""
        return [*self._prefix, *map(str, words)]

    def spawn(self, words, **options):
        """Starts a command in the session; what it prints goes to the session's own log."""
        with open(self.directory / "log", "ab") as log:
            options = {"stdin": subprocess.DEVNULL, "stdout": log, "stderr": log, **options}
            child = subprocess.Popen(self.prefix(words), env=self.environment, **options)
        self._children.append(child)
        return child

    def run(self, words):
        """Runs a command in the session to its end; its standard output."""
        return subprocess.run(
            self.prefix(words), env=self.environment, check=True, timeout=DEADLINE, stdout=subprocess.PIPE, encoding="utf-8"
        ).stdout

    def accessible_names(self):
        """The names and descriptions that a screen reader can read."""
        return self.run(["/usr/bin/python3", "-B", pathlib.Path(__file__).with_name("accessible_names.py")]).splitlines()

    def log_tail(self):
        return (self.directory / "log").read_text(errors="replace")[-2000:]

    # The panel and the host

    def _name_has_owner(self, name):
        bus = ["dbus-send", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus"]
        return "true" in self.run([*bus, "org.freedesktop.DBus.NameHasOwner", "string:" + name])

    def start_panel(self):
        """Starts the panel and waits until it takes items and its bar is drawn."""
        bare = self.picture().crop(self.bar)
        self.panel_process = self.spawn(self.panel.command)
        wait_for(lambda: self._name_has_owner(WATCHER), f"watcher by {self.panel.command[0]}")

        def drawn():
            bar = self.picture().crop(self.bar)
            box = changed_box(bare, bar)
            return box is not None and box.width == bar.width

        wait_for(drawn, "bar")

    def kill_panel(self):
        """Ends the panel at once, as a crash would."""
        self.panel_process.kill()
        self.panel_process.wait()
        wait_for(lambda: not self._name_has_owner(WATCHER), "end of the watcher")

    def switch_theme(self, theme):
        """Gives the running panel another look and waits until its bar shows it."""
        before = main_colour(self.picture(), self.bar)
        self.panel.switch_theme(self, theme)
        self.look = theme
        self.settled(lambda picture: main_colour(picture, self.bar) != before, f"{theme} bar")

    def start_host(self, words, environment=None):
        process = subprocess.Popen(
            self.prefix(words),
            env={**self.environment, **(environment or {})},
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            encoding="utf-8",
        )
        self._children.append(process)
        return Host(process)

    # Eyes and hands

    def picture(self):
        return self.screen.picture()

    def settled(self, condition=lambda picture: True, what="picture at rest", deadline=DEADLINE):
        """A picture for which `condition` holds and that stays as it is; with a moment between two looks."""
        last = None

        def at_rest():
            nonlocal last
            now = self.picture()
            same = last is not None and now.tobytes() == last.tobytes()
            last = now
            return now if same and condition(now) else None

        return wait_for(at_rest, what, deadline, pause=0.1)

    def find_icon(self, picture):
        """The icon, where the bar differs from the empty one; None while nothing, or more than an icon, differs."""
        box = changed_box(self.empty, picture, self.icons)
        if not box:
            return None
        if self.panel.padding and self.look not in self.panel.colours:
            ground = main_colour(picture, (box.left, box.top, box.left + self.panel.padding // 2, box.bottom))
            box = changed_box(Image.new("RGB", picture.size, ground), picture, box)
        else:
            ground = main_colour(self.empty, box)
        return Icon(box, ground) if box and 8 <= box.width <= 48 and 8 <= box.height <= 48 else None

    def wait_for_icon(self):
        return self.find_icon(self.settled(self.find_icon, "icon in the bar"))

    def wait_for_no_icon(self):
        self.settled(lambda picture: not changed_box(self.empty, picture, self.icons), "bar without the icon")

    def click(self, button, place):
        """Clicks, then takes the pointer away, so that nothing lights up and no tooltip opens."""
        self.screen.move(*place)
        self.screen.press(button)
        self.screen.move(*self.aside)

    def menu_box(self, picture):
        """What covers the desktop, if it is large enough for a menu."""
        box = changed_box(self.empty, picture, self.desk)
        return box if box and box.height >= 20 and box.width >= 20 else None

    def wait_for_no_menu(self):
        self.settled(lambda picture: not changed_box(self.empty, picture, self.desk), "desktop without a menu")

    def open_menu(self, icon):
        """Right-clicks the icon and waits for the menu.

        Low on the icon: some panels open the menu at the pointer, with its first entry over the bar.
        """
        self.wait_for_no_menu()
        self.click(RIGHT, (icon.box.centre[0], icon.box.bottom - 2))
        picture = self.settled(self.menu_box, "menu")
        box = self.menu_box(picture)
        return OpenMenu(picture, box, text_rows(picture, box))

    def choose(self, menu, index):
        """Clicks an entry, counted from 0 without separators, and waits until the menu is gone."""
        self.click(LEFT, menu.entries[index].centre)
        self.wait_for_no_menu()
