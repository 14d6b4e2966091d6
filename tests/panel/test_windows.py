"""A window that lies behind another comes to the front as its host presents it, in a Wayland session:

    test_windows.py PANEL

EXAMPLES is the directory of the built examples, LIBRARY_PATH the library's. Where ALL_WINDOWS is set, a host of GTK 4
and clicks are tried as well as choices. Exit status 77: something is not installed.
"""

import contextlib
import os
import pathlib

import test_panels
from panel_session import LEFT
from test_panels import PYTHON, ROOT

COVER = (0x10, 0x10, 0xE0)
DEADLINE = 10  # a window that comes to the front does so at once
WINDOWS = [*PYTHON, pathlib.Path(__file__).with_name("windows.py")]
EXEC = " ".join(map(str, [*WINDOWS, "handler", "%u"]))
FILES = {
    "data/applications/quill.test.desktop": f"[Desktop Entry]\nType=Application\nName=Handler\nExec={EXEC}\n",
    "config/mimeapps.list": "[Default Applications]\nx-scheme-handler/quill-front=quill.test.desktop\n",
}
HOSTS = {  # the programs of each
    "a GtkApplication of GTK 3": [[test_panels.EXAMPLES / "example_window"]],
    "GTK 3 alone": [[*PYTHON, ROOT / "examples/python/window.py"]],
    "Qt 6": [[*WINDOWS, "qt6"]],
    "a URL's application": [[*WINDOWS, "handler"], [*WINDOWS, "opener"]],
}
EVENTS = ["choice"]
if "ALL_WINDOWS" in os.environ:
    HOSTS["a GtkApplication of GTK 4"] = [[*WINDOWS, "gtk4"]]
    EVENTS += ["click"]


class WindowTest(test_panels.SessionTest):
    def test_window_of_each_host_comes_to_the_front_by_choice_and_by_click(self):
        for name, text in FILES.items():
            (self.session.directory / name).parent.mkdir(exist_ok=True)
            (self.session.directory / name).write_text(text)
        self.bare = self.session.empty
        for host, programs in HOSTS.items():
            for event in EVENTS:
                with self.subTest(host, event=event):
                    self.bring_to_front(programs, event)

    def settled(self, condition, what):
        """A picture at rest whose centre has such a colour."""
        centre = self.session.desk.centre
        return self.session.settled(lambda now: condition(now.getpixel(centre)), what, DEADLINE)

    def bring_to_front(self, programs, event):
        session = self.session
        centre = session.desk.centre
        session.empty = self.bare
        session.wait_for_no_icon()
        session.wait_for_no_menu()
        with contextlib.ExitStack() as running:
            for words in programs:
                running.enter_context(session.start_host(words, test_panels.LIBRARY))
            icon = session.wait_for_icon()
            own = self.settled(lambda now: now != self.bare.getpixel(centre), "window").getpixel(centre)
            running.enter_context(session.start_host([*WINDOWS, "cover"]))
            session.empty = self.settled(lambda now: now == COVER, "window over the other")
            if event == "choice":
                session.click(LEFT, session.open_menu(icon).entries[0].centre)
            else:
                session.click(LEFT, icon.box.centre, session.panel.clicks)
            self.settled(lambda now: now == own, "window in front")


if __name__ == "__main__":
    test_panels.run("gi", "PyQt6.QtWidgets")
