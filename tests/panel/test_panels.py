"""What a user sees and does, in a real panel: test_panels.py PANEL THEME.

PANEL_HOST and EXAMPLE_HOST name the two hosts. Exit status 77: the panel is not installed.
"""

import json
import os
import pathlib
import sys
import unittest

from PIL import Image, ImageDraw

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
from panel_session import LEFT, NotInstalled, PanelSession, icon_contrast, main_colour  # noqa: E402

LEAST_CONTRAST = 4.5  # what WCAG wants of text

FIRST_MENU = [("show", "显示主窗口"), ("preferences", "偏好设置…"), ("quit", "退出")]
SECOND_MENU = [("one", "新菜单的第一项"), ("two", "第二项"), ("three", "第三项"), ("four", "第四项"), ("five", "第五项")]


def items(menu):
    return "items " + json.dumps([{"id": name, "title": title} for name, title in menu], ensure_ascii=False)


class PanelTest(unittest.TestCase):
    session = None

    @classmethod
    def setUpClass(cls):
        cls.enterClassContext(cls.session)
        cls.icon_file = cls.session.directory / "icon.png"
        image = Image.new("RGBA", (64, 64))
        ImageDraw.Draw(image).rounded_rectangle((8, 8, 55, 55), 8, fill="black")
        image.save(cls.icon_file)

    def show(self, menu=FIRST_MENU):
        """A host whose item is in the bar."""
        host = self.session.start_host([os.environ["PANEL_HOST"]])
        self.addCleanup(self.end, host)
        for command in (items(menu), "create", f"icon {self.icon_file}"):
            self.tell(host, command)
        return host, self.session.wait_for_icon()

    def end(self, host):
        host.say("end")
        self.assertEqual(host.wait_end(), 0)
        self.session.wait_for_no_icon()

    def tell(self, host, command):
        host.say(command)
        host.expect("done: " + command.split()[0])

    def choose_second(self, host, icon, menu):
        shown = self.session.open_menu(icon)
        self.assertEqual(len(shown.entries), len(menu))
        self.session.choose(shown, 1)
        host.expect("chosen: " + menu[1][0])

    def test_icon_is_seen(self):
        _, icon = self.show()
        self.assertGreaterEqual(icon_contrast(self.session.picture(), icon), LEAST_CONTRAST)

    def test_icon_is_seen_after_the_theme_changed(self):
        session = self.session
        others = [theme for theme in session.panel.themes if theme != session.theme]
        if not others:
            self.skipTest("this panel has one look")
        _, icon = self.show()
        self.addCleanup(session.switch_theme, session.theme)
        session.switch_theme(others[0])
        picture = session.picture()
        seen = icon_contrast(picture, icon._replace(ground=main_colour(picture, session.bar)))
        self.assertGreaterEqual(seen, LEAST_CONTRAST)

    def test_clicks_and_choices_reach_the_host_once(self):
        host, icon = self.show()
        self.session.click(LEFT, icon.box.centre)
        host.expect("clicked")
        self.choose_second(host, icon, FIRST_MENU)  # a second "clicked" would come before this

    def test_menu_replaced_while_shown(self):
        host, icon = self.show()
        self.choose_second(host, icon, FIRST_MENU)
        self.tell(host, items(SECOND_MENU))
        self.choose_second(host, icon, SECOND_MENU)

    def test_quit_of_the_basic_menu_ends_the_host(self):
        host = self.session.start_host([os.environ["EXAMPLE_HOST"], "--basic"])
        menu = self.session.open_menu(self.session.wait_for_icon())
        self.assertEqual(len(menu.entries), 2)
        self.session.choose(menu, 1)
        host.expect("asked to end")
        self.assertEqual(host.wait_end(), 0)
        self.session.wait_for_no_icon()

    def test_icon_comes_back_after_the_panel_crashed(self):
        host, _ = self.show()
        self.session.kill_panel()
        self.session.start_panel()
        icon = self.session.wait_for_icon()
        self.choose_second(host, icon, FIRST_MENU)


if __name__ == "__main__":
    try:
        PanelTest.session = PanelSession(*sys.argv[1:3])
    except NotInstalled as missing:
        print(f"SKIPPED: no {sys.argv[1]} here, not installed: {missing}")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=2)
