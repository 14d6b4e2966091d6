"""What a user sees and does in a bar with an XEmbed tray: test_bars.py BAR THEME [CASE], as test_panels.py.

TRAY_XEMBED is the built quill-tray-xembed, which the session's bus starts.
"""

import contextlib
import os
import pathlib
import signal
import sys

import test_panels
from panels import PANELS
from pictures import changed_box
from servers import wait_for
from test_panels import FIRST_MENU, SECOND_MENU, items, panel_session


class BarTest(test_panels.PanelTest):
    """The cases of any panel, and further ones."""

    test_examples_do_what_they_say = test_sandboxed_host_has_icon_menu_portal_and_log = None

    def programs(self):
        """The process ids of the session's quill-tray-xembed."""
        found = []
        for pid in self.session.processes():
            with contextlib.suppress(FileNotFoundError):
                found += [pid] if pathlib.Path(f"/proc/{pid}/comm").read_text() == "quill-tray-xemb\n" else []
        return found

    def start(self, icon):
        host = self.session.start_host([os.environ["PANEL_HOST"]])
        self.addCleanup(self.end, host)
        for command in ("create", f"icon {self.icon_files[icon]}"):
            host.tell(command)
        return host

    def assert_clickable(self, host):
        self.session.click(panel_session.LEFT, self.session.wait_for_icon().box.centre)
        host.expect("clicked")

    def press(self, *keys):
        self.session.run(["xdotool", "key", *keys])

    def test_menu_is_walked_by_keys_and_replaced_while_it_is_open(self):
        host, icon = self.show()
        self.session.open_menu(icon)
        self.press("Down", "Down", "Return")
        host.expect("chosen: " + FIRST_MENU[1][0])
        before = self.session.open_menu(icon).picture
        host.tell(items(SECOND_MENU))
        self.session.settled(lambda now: changed_box(before, now, self.session.desk), "replaced menu")
        self.press("Down", "Return")
        host.expect("chosen: " + SECOND_MENU[0][0])
        self.choose_second(host, icon, SECOND_MENU)

    def test_one_program_serves_two_hosts_is_started_again_and_ends_with_the_last(self):
        host, icon = self.show()
        os.kill(self.programs()[0], signal.SIGKILL)
        self.session.wait_for_no_icon()
        self.assert_clickable(host)
        other = self.start("strokes")
        bar = self.session.empty, self.session.icons
        self.session.settled(lambda now: changed_box(bar[0], now, bar[1]).width > 1.5 * icon.box.width, "two icons")
        self.assertEqual(len(self.programs()), 1)
        other.say("end")
        self.assertEqual(other.wait_end(), 0)
        self.assert_clickable(host)
        self.end(host)
        wait_for(lambda: not self.programs(), "end of the program")

    def test_bar_that_starts_after_the_host_shows_the_icon(self):
        self.session.kill_panel()
        host = self.start("solid")
        wait_for(self.programs, "program")
        self.session.start_panel()
        self.assert_clickable(host)

    def test_icon_moves_to_a_panel_and_back_and_is_never_shown_twice(self):
        session = self.session
        host, icon = self.show()
        frames = [session.picture()]

        def film(until, what):
            def look():
                frames.append(session.picture())
                return until(frames[-1])

            wait_for(look, what, pause=0)

        def in_bar(frame):
            return frame.crop(icon.box).tobytes() == frames[0].crop(icon.box).tobytes()

        # lxqt-panel leaves the XEmbed tray to the bar. It gets the other side of the screen.
        PANELS["lxqt-panel"].configure(session)
        settings = session.directory / "config/lxqt/panel.conf"
        if session.bar.top > 0:
            settings.write_text(settings.read_text().replace("=Bottom", "=Top"))
        panel = session.spawn(PANELS["lxqt-panel"].command)
        film(lambda frame: not in_bar(frame), "bar without icon")
        end = len(frames) + 60  # by then the panel has drawn the icon
        film(lambda _: len(frames) > end, "film")
        shown = session.settled()
        host.tell(f"icon {self.icon_files['strokes']}")
        other = session.settled(lambda now: changed_box(shown, now, session.desk), "other icon")
        place = changed_box(shown, other, session.desk)

        def in_panel(frame):
            return frame.crop(place).tobytes() == shown.crop(place).tobytes()

        host.tell(f"icon {self.icon_files['solid']}")
        session.settled(in_panel, "first icon")
        panel.kill()
        film(in_bar, "icon in the bar")
        print(f"{session.name}: {len(frames)} pictures")
        self.assertTrue(any(map(in_panel, frames)))
        self.assertFalse([at for at, frame in enumerate(frames) if in_panel(frame) and in_bar(frame)])


if __name__ == "__main__":
    if "TRAY_XEMBED" not in os.environ:
        print("skipped: quill-tray-xembed is not built, because libdbusmenu-gtk3-dev or libgtk-3-dev is missing")
        sys.exit(77)
    test_panels.run()
