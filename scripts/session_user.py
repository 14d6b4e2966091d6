"""What a user of a session of panel_session sees and does."""

from PIL import Image
from pictures import Icon, OpenMenu, changed_box, main_colour, text_rows
from screens import LEFT
from servers import DEADLINE, wait_for


class SessionUser:
    """The base of PanelSession."""

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

    def click(self, button, place, times=1):
        """Clicks, then takes the pointer away, so that nothing lights up and no tooltip opens."""
        self.screen.move(*place)
        self.screen.press(button, times)
        self.screen.move(*self.aside)

    def menu_box(self, picture):
        """What covers the desktop, if it is large enough for a menu."""
        box, over_bar = (changed_box(self.empty, picture, place) for place in (self.desk, self.bar))
        if box and over_bar and (box.left, box.right) == (over_bar.left, over_bar.right):  # the menu covers both
            box = changed_box(self.empty, picture)
        return box if box and box.height >= 20 and box.width >= 20 else None

    def wait_for_no_menu(self):
        self.settled(lambda picture: not changed_box(self.empty, picture, self.desk), "desktop without a menu")

    def open_menu(self, icon):
        """Clicks the icon and waits for the menu.

        Low on the icon: some panels open the menu at the pointer, with its first entry over the bar.
        """
        self.wait_for_no_menu()
        self.click(self.panel.menu_button, (icon.box.centre[0], icon.box.bottom - 2))
        picture = self.settled(self.menu_box, "menu")
        box = self.menu_box(picture)
        return OpenMenu(picture, box, text_rows(picture, box, self.panel.menu_border))

    def dismiss_menu(self):
        self.click(LEFT, self.aside)
        self.wait_for_no_menu()

    def choose(self, menu, index):
        """Clicks an entry, counted from 0 without separators, and waits until the menu is gone."""
        self.click(LEFT, menu.entries[index].centre)
        self.wait_for_no_menu()
