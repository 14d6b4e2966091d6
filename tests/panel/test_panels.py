"""What a user sees and does, in a real panel: test_panels.py PANEL THEME.

PANEL_HOST is the tests' own host, EXAMPLES the directory of the built examples, LIBRARY_PATH the library's. Exit status 77:
the panel is not installed, or all was skipped.
"""

import importlib
import json
import os
import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts"))
import panel_session  # noqa: E402
import pictures  # noqa: E402

PYTHON = ["/usr/bin/python3", "-B"]
HOST, EXAMPLES = (pathlib.Path(os.environ[name]) for name in ("PANEL_HOST", "EXAMPLES"))
LIBRARY = {"LD_LIBRARY_PATH": os.environ["LIBRARY_PATH"]}

FIRST_MENU = [("show", "显示主窗口"), ("preferences", "偏好设置…"), ("quit", "退出")]
SECOND_MENU = [("one", "新菜单的第一项"), ("two", "第二项"), ("three", "第三项"), ("four", "第四项"), ("five", "第五项")]

URL = "https://example.org/a?b#c"


def items(menu):
    return "items " + json.dumps([{"id": name, "title": title} for name, title in menu], ensure_ascii=False)


class SessionTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.enterClassContext(cls.session)
        cls.icon_files = pictures.draw_shapes(cls.session.directory)

    def start(self, session, icon="solid", command=(HOST,)):
        """A host whose item has a menu and that icon, until the test ends."""
        host = session.start_host(command)
        self.addCleanup(lambda: host.process.returncode is None and self.end(host))
        for command in (items(FIRST_MENU), "create", f"icon {self.icon_files[icon]}"):
            host.tell(command)
        return host

    def end(self, host):
        host.say("end")
        self.assertEqual(host.wait_end(), 0)


class PanelTest(SessionTest):
    def show(self, **options):
        """A host whose item is in the bar, until the test ends."""
        self.addCleanup(self.session.wait_for_no_icon)
        return self.start(self.session, **options), self.session.wait_for_icon()

    def assert_clickable(self, host):
        self.session.click(panel_session.LEFT, self.session.wait_for_icon().box.centre)
        host.expect("clicked")

    def choose_second(self, host, icon, menu):
        def opened():
            shown = self.session.open_menu(icon)
            return shown if len(shown.entries) == len(menu) else self.session.dismiss_menu()

        self.session.choose(panel_session.wait_for(opened, "menu that the panel has read"), 1)
        host.expect("chosen: " + menu[1][0])

    def wait_until_seen(self, icon, what, wanted=None):
        wanted = wanted or pictures.wanted_contrast(icon.ground)
        return self.session.settled(lambda now: pictures.icon_contrast(now, icon) >= wanted, f"{what} in enough contrast")

    def test_icon_is_seen_in_each_theme_and_on_a_bar_of_any_colour_of_a_running_panel(self):
        session = self.session
        host, icon = self.show()
        self.addCleanup(lambda: session.look == session.theme or session.switch_theme(session.theme))
        for look in sorted(session.panel.themes + session.panel.colours, key=lambda look: look != session.theme):
            if look != session.look:
                session.switch_theme(look)
                icon = icon._replace(ground=pictures.main_colour(session.settled(), session.bar))
            for shape, file in self.icon_files.items():
                host.tell(f"icon {file}")
                self.wait_until_seen(icon, f"{shape} icon of the look {look}")

    def test_icon_has_the_colour_of_the_panels_own_text(self):
        if not self.session.panel.own_colour:
            self.skipTest("SKIPPED: the panel paints no icon in its own colour")
        with panel_session.PanelSession(self.session.name, self.session.theme, has_neighbours=True) as session:
            self.start(session)
            places = session.panel.own_colour(session.bar)

            def colours(picture):
                return [pictures.ink_colour(picture, place, pictures.main_colour(picture, session.bar)) for place in places]

            session.settled(lambda now: max(abs(a - b) for a, b in zip(*colours(now))) <= 4, "icon in the text's colour")

    def test_animation_shows_frames_then_the_icon(self):
        host, icon = self.show()
        at_rest = self.session.picture().crop(icon.box)

        def differs(picture):
            return pictures.changed_box(at_rest, picture.crop(icon.box))

        for _ in range(60):
            host.tell(f"frame {self.icon_files['strokes']}")
        host.say("start")
        wanted = pictures.wanted_contrast(icon.ground)
        self.session.settled(lambda now: differs(now) and pictures.icon_contrast(now, icon) >= wanted, "frame with contrast")
        self.session.settled(lambda picture: not differs(picture), "main icon after the animation")
        host.expect("done: start")

    def test_clicks_and_choices_reach_the_host_once_and_so_after_the_panel_crashed(self):
        session = self.session
        host, icon = self.show()
        if session.panel.has_accessible_icons:
            panel_session.wait_for(lambda: "panel_host" in session.accessible_names(), "name that a screen reader can read")
        if session.panel.menu_button != panel_session.LEFT:
            self.assert_clickable(host)
        self.choose_second(host, icon, FIRST_MENU)  # a second "clicked" would come before this
        host.tell(items(SECOND_MENU))
        session.kill_panel()
        session.start_panel()
        self.choose_second(host, session.wait_for_icon(), SECOND_MENU)

    def use(self, command, entries, *choices):
        """Clicks an example's icon, then chooses: (entry's index, what the example says)."""
        host = self.session.start_host(command, LIBRARY)
        icon = self.session.wait_for_icon()
        self.session.click(panel_session.LEFT, icon.box.centre)
        host.hear("clicked")
        for index, answer in choices:
            menu = self.session.open_menu(icon)
            self.assertEqual(len(menu.entries), entries)
            self.session.choose(menu, index)
            host.expect(answer)
        self.assertEqual(host.wait_end(), 0)
        self.session.wait_for_no_icon()

    def test_examples_do_what_they_say(self):
        self.use([EXAMPLES / "example_c", "--basic"], 2, (1, "asked to end"))
        self.use([EXAMPLES / "example_c"], 4, (1, "chosen: preferences"), (3, "chosen: quit"))
        self.use([EXAMPLES / "example_cpp"], 4, (0, "mute: true"), (2, "refresh"), (3, "quit"))
        self.use([*PYTHON, ROOT / "examples/python/main.py"], 3, (0, "chosen: play"), (2, "chosen: quit"))
        gjs = ["env", f"GI_TYPELIB_PATH={EXAMPLES.parent / 'introspection'}", "gjs", ROOT / "examples/gjs/main.js"]
        java = ["java", "-cp", f"/usr/share/java/jna.jar:{EXAMPLES / 'java'}", "Main"]
        for command, target, entries in (
            (gjs, "vala/example_vala", 2),
            ([EXAMPLES / "vala/example_vala"], "vala/example_vala", 2),
            (java, "java/Main.class", 2),
            (["node", EXAMPLES / "node/main.js"], "node/node_modules/.package-lock.json", 3),
        ):
            if (EXAMPLES / target).exists():
                self.use(command, entries, (0, "chosen: open"), (entries - 1, "chosen: quit"))
            else:
                print(f"SKIPPED: {target} is not built")

    def test_sandboxed_host_has_icon_menu_portal_and_log(self):
        try:
            import sandbox

            box = sandbox.Sandbox(self.session, HOST)
        except (ImportError, panel_session.NotInstalled) as missing:
            self.skipTest(f"SKIPPED: no sandbox can be made: {missing}")
        portal = self.session.start_host([*PYTHON, sandbox.__file__], {"PYTHONPATH": str(ROOT / "scripts")})
        self.addCleanup(portal.kill)
        portal.expect("ready")
        host, icon = self.show(command=box.command)
        # The sandbox hides which panel it is, so the tone is a guess, which must be seen on any bar: WCAG 2.1, 1.4.11.
        self.wait_until_seen(icon, "icon of a sandboxed host", wanted=3)
        self.assert_clickable(host)
        self.choose_second(host, icon, FIRST_MENU)
        host.tell(f"open {URL}")
        portal.expect(URL)
        log = box.home / "Library/Application Support/com.orvi.tamble/.logs/native.log"
        panel_session.wait_for(lambda: URL in log.read_text(), "line in the sandbox's log")


def run(*modules):
    """Runs the main program's cases, which import `modules`, in a session of the command line's panel, and exits."""
    try:
        list(map(importlib.import_module, modules))
        SessionTest.session = panel_session.PanelSession(*sys.argv[1:3])
    except (ImportError, panel_session.NotInstalled) as missing:
        print(f"SKIPPED: no {sys.argv[1]} here, not installed: {missing}")
        sys.exit(77)
    # After one case failed the others often wait for their deadlines, and a killed test prints no error.
    result = unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=2, exit=False, failfast=True).result
    sys.exit(not result.wasSuccessful() or (77 if len(result.skipped) == result.testsRun else 0))


if __name__ == "__main__":
    run()
