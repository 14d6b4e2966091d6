"""Uses the C example in a private session as a user would: private_demo.py EXAMPLE PICTURE_DIRECTORY."""

import pathlib
import signal
import sys

from panel_session import LEFT, PanelSession


class Demo:
    def __init__(self, session, example, directory):
        self.session = session
        self.example = example
        self.directory = directory
        self.count = 0
        directory.mkdir(parents=True, exist_ok=True)
        for old in directory.glob("*.png"):
            old.unlink()

    def picture(self, name):
        self.count += 1
        path = self.directory / f"{self.count}-{name}.png"
        self.session.settled().save(path)
        print(f"demo: {path}", flush=True)

    def told(self, host, line):
        host.expect(line)
        print(f"demo: the host says: {line}", flush=True)

    def with_items(self):
        host = self.session.start_host([self.example])
        icon = self.session.wait_for_icon()
        self.picture("icon")
        self.session.click(LEFT, icon.box.centre)
        self.told(host, "clicked")
        self.picture("clicked")
        menu = self.session.open_menu(icon)
        self.picture("menu")
        self.session.choose(menu, 1)
        self.told(host, "chosen: preferences")
        self.picture("chosen")
        self.session.choose(self.session.open_menu(icon), len(menu.entries) - 1)
        self.told(host, "chosen: quit")
        self.ended(host)

    def basic(self):
        host = self.session.start_host([self.example, "--basic"])
        menu = self.session.open_menu(self.session.wait_for_icon())
        self.picture("basic-menu")
        self.session.choose(menu, len(menu.entries) - 1)
        self.told(host, "asked to end")
        self.ended(host)
        self.picture("ended")

    def ended(self, host):
        status = host.wait_end()
        if status:
            raise RuntimeError(f"the host ended with status {status}")
        self.session.wait_for_no_icon()


def main():
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    with PanelSession("xfce4-panel", "dark", size=(480, 270)) as session:
        demo = Demo(session, pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]))
        demo.with_items()
        demo.basic()


if __name__ == "__main__":
    main()
