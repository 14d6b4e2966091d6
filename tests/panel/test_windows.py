"""A window that lies behind another comes to the front as its host presents it, in a Wayland session:

    test_windows.py PANEL

EXAMPLES is the directory of the built examples, LIBRARY_PATH the library's. Where ALL_WINDOWS is set, hosts of GTK 4 and
clicks are tried as well as choices. Exit status 77: something is not installed.
"""

import importlib.util
import os
import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts"))
from panel_session import LEFT, NotInstalled, PanelSession  # noqa: E402

COVER = (0x10, 0x10, 0xE0)
DEADLINE = 10  # a window that comes to the front does so at once
PYTHON = ["/usr/bin/python3", "-B"]
WINDOWS = [*PYTHON, pathlib.Path(__file__).with_name("windows.py")]
HANDLER = "quill.test.handler.desktop"
EXEC = " ".join(map(str, [*WINDOWS, "handler", "%u"]))
EXAMPLE = pathlib.Path(os.environ["EXAMPLES"]) / "example_window"
HOSTS = {  # the programs of each
    "a GtkApplication of GTK 3": [[EXAMPLE]],
    "GTK 3 alone": [[*PYTHON, ROOT / "examples/python/window.py"]],
    "Qt 6": [[*WINDOWS, "qt6"]],
    "a URL's application": [[*WINDOWS, "handler"], [*WINDOWS, "opener"]],
}
GTK4_HOSTS = {"a GtkApplication of GTK 4": [[*WINDOWS, "gtk4-application"]], "GTK 4 alone": [[*WINDOWS, "gtk4"]]}


class WindowTest(unittest.TestCase):
    def test_window_of_each_host_comes_to_the_front_by_choice_and_by_click(self):
        with session:
            for name, text in (
                (f"data/applications/{HANDLER}", f"[Desktop Entry]\nType=Application\nName=Handler\nExec={EXEC}\n"),
                ("config/mimeapps.list", f"[Default Applications]\nx-scheme-handler/quill-front={HANDLER}\n"),
            ):
                (session.directory / name).parent.mkdir(exist_ok=True)
                (session.directory / name).write_text(text)
            self.bare = session.empty
            hosts, events = (HOSTS | GTK4_HOSTS, (True, False)) if "ALL_WINDOWS" in os.environ else (HOSTS, (True,))
            for host, programs in hosts.items():
                for is_choice in events:
                    with self.subTest(host, is_choice=is_choice):
                        self.bring_to_front(programs, is_choice)

    def wait_for_colour(self, condition, what):
        centre = session.desk.centre
        return session.settled(lambda now: condition(now.getpixel(centre)), what, DEADLINE)

    def bring_to_front(self, programs, is_choice):
        running = []
        try:
            for words in [*programs, [*WINDOWS, "cover"]]:
                if words[-1] == "cover":
                    icon = session.wait_for_icon()
                    own = self.wait_for_colour(lambda now: now != self.bare.getpixel(session.desk.centre), "window")
                running.append(session.start_host(words, {"LD_LIBRARY_PATH": os.environ["LIBRARY_PATH"]}))
            session.empty = self.wait_for_colour(lambda now: now == COVER, "window over the other")
            if is_choice:
                session.click(LEFT, session.open_menu(icon).entries[0].centre)
            else:
                session.click(LEFT, icon.box.centre, session.panel.clicks)
            own = own.getpixel(session.desk.centre)
            self.wait_for_colour(lambda now: now == own, "window in front")
        finally:
            for program in running:
                program.process.kill()
                program.wait_end()
            session.empty = self.bare
            session.wait_for_no_icon()
            session.wait_for_no_menu()


try:
    for what, is_there in {
        "example_window": EXAMPLE.exists(),
        "python3-gi": importlib.util.find_spec("gi"),
        "python3-pyqt6": importlib.util.find_spec("PyQt6"),
        "qt6-wayland": any(pathlib.Path("/usr/lib").glob("*/qt6/plugins/platforms/libqwayland*")),
    }.items():
        if not is_there:
            raise NotInstalled(what)
    session = PanelSession(sys.argv[1])
except NotInstalled as missing:
    print(f"SKIPPED: no {sys.argv[1]} here, not installed: {missing}")
    sys.exit(77)
unittest.main(argv=sys.argv[:1], verbosity=2)
