"""Uses the examples in a private session as a user would: private_demo.py BUILD_DIRECTORY PICTURE_DIRECTORY."""

import pathlib
import signal
import sys

from PIL import Image
from panel_session import PanelSession
from pictures import changed_box
from screens import LEFT
from servers import wait_for

ANIMATED = pathlib.Path(__file__).resolve().parents[1] / "examples/python/main.py"
ZOOM = 4  # of the animation's pictures


class Demo:
    def __init__(self, session, build, directory):
        self.session = session
        self.library = build / "native/exports"
        self.example = build / "examples/example_c"
        self.directory = directory
        self.count = 0
        directory.mkdir(parents=True, exist_ok=True)
        for old in directory.glob("*.png"):
            old.unlink()

    def picture(self, name):
        self.save(self.session.settled(), name)

    def save(self, picture, name):
        self.count += 1
        path = self.directory / f"{self.count}-{name}.png"
        picture.save(path)
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

    def animated(self):
        """The frames that could be caught, side by side."""
        host = self.session.start_host(["/usr/bin/python3", "-B", ANIMATED], {"LD_LIBRARY_PATH": str(self.library)})
        icon = self.session.wait_for_icon()
        self.told(host, "frames are ready")
        looks = [self.session.picture().crop(icon.box)]
        self.session.click(LEFT, icon.box.centre)

        def is_over():
            look = self.session.picture().crop(icon.box)
            if changed_box(looks[-1], look):
                looks.append(look)
            return len(looks) > 2 and not changed_box(looks[0], look)

        wait_for(is_over, "animation", pause=0)
        self.told(host, "clicked")
        width, height = icon.box.width * ZOOM, icon.box.height * ZOOM
        strip = Image.new("RGB", (width * len(looks), height))
        for index, look in enumerate(looks):
            strip.paste(look.resize((width, height), Image.Resampling.NEAREST), (index * width, 0))
        self.save(strip, "animation")
        self.session.choose(self.session.open_menu(icon), 2)
        self.told(host, "chosen: quit")
        self.ended(host)

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
        demo.animated()
        demo.basic()


if __name__ == "__main__":
    main()
