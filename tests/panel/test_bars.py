"""What a user sees and does in a bar with an XEmbed tray: test_bars.py BAR THEME [CASE], as test_panels.py.

TRAY_XEMBED is the built quill-tray-xembed, which the session's bus starts.
"""

import os
import signal

import test_panels
from panels import PANELS
from pictures import changed_box
from servers import wait_for
from test_panels import FIRST_MENU, SECOND_MENU, items


class BarTest(test_panels.PanelTest):
    test_examples_do_what_they_say = test_sandboxed_host_has_icon_menu_portal_and_log = None

    def programs(self):
        """The process ids of the session's quill-tray-xembed."""
        running = {pid: os.path.realpath(f"/proc/{pid}/exe") for pid in self.session.processes()}
        return [pid for pid, program in running.items() if program == os.path.realpath(os.environ["TRAY_XEMBED"])]

    def test_menu_is_walked_by_keys_and_replaced_while_it_is_open(self):
        host, icon = self.show()
        self.session.open_menu(icon)
        self.session.run(["xdotool", "key", "Down", "Down", "Return"])
        host.expect("chosen: " + FIRST_MENU[1][0])
        before = self.session.open_menu(icon).picture
        host.tell(items(SECOND_MENU))
        self.session.settled(lambda now: changed_box(before, now, self.session.desk), "replaced menu")
        self.session.run(["xdotool", "key", "Down", "Return"])
        host.expect("chosen: " + SECOND_MENU[0][0])

    def test_one_program_serves_two_hosts_is_started_again_and_ends_with_the_last(self):
        host, icon = self.show()
        os.kill(self.programs()[0], signal.SIGKILL)
        self.session.wait_for_no_icon()
        self.assert_clickable(host)
        other = self.start(self.session, "strokes")
        bar = self.session.empty, self.session.icons
        self.session.settled(lambda now: changed_box(bar[0], now, bar[1]).width > 1.5 * icon.box.width, "two icons")
        self.assertEqual(len(self.programs()), 1)
        self.end(other)
        self.assert_clickable(host)
        self.end(host)
        wait_for(lambda: not self.programs(), "end of the program")

    def test_icon_moves_to_a_panel_and_back_and_is_never_shown_twice(self):
        session = self.session
        host, icon = self.show()
        frames = [session.picture()]
        # lxqt-panel leaves the XEmbed tray to the bar. It gets the other side of the screen.
        PANELS["lxqt-panel"].configure(session)
        settings = session.directory / "config/lxqt/panel.conf"
        if session.bar.top > 0:
            settings.write_text(settings.read_text().replace("=Bottom", "=Top"))
        panel = session.spawn(PANELS["lxqt-panel"].command)

        def shows(place, shown):
            return lambda frame: frame.crop(place).tobytes() == shown.crop(place).tobytes()

        in_bar = shows(icon.box, frames[0])
        wait_for(lambda: frames.append(session.picture()) or not in_bar(frames[-1]), "bar without icon", pause=0)
        frames += [session.picture() for _ in range(60)]  # by then the panel has drawn the icon
        shown = session.settled()
        host.tell(f"icon {self.icon_files['strokes']}")
        other = session.settled(lambda now: changed_box(shown, now, session.desk), "other icon")
        in_panel = shows(changed_box(shown, other, session.desk), shown)
        self.assertTrue(any(map(in_panel, frames)))
        self.assertFalse(any(in_panel(frame) and in_bar(frame) for frame in frames))
        panel.kill()
        session.wait_for_icon()


if __name__ == "__main__":
    test_panels.run()
