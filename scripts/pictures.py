"""What is seen on a screenshot. Places are in pixels from the screen's top left."""

from collections import Counter
from dataclasses import dataclass
from typing import NamedTuple

from PIL import Image, ImageChops, ImageDraw


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


def ink_colour(picture, box, ground):
    """The colour of the text or of the icon in the box: the one that is seen best on the ground."""
    return max(picture.crop(box).getdata(), key=lambda colour: contrast(colour, ground))


def wanted_contrast(ground):
    """What WCAG asks of text, 4.5 (1.4.3). On a bar on which neither white nor black has 5, what it asks of graphics, 3
    (1.4.11): there the icon's outline in the other tone, which scaling mixes with its fill, takes more than it gives."""
    return 4.5 if max(contrast(ground, tone) for tone in ((0, 0, 0), (255, 255, 255))) >= 5 else 3.0


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


def draw_shapes(directory):
    """Icons to look for in a bar, a solid one and one of strokes: their files by their names."""
    shapes = {"solid": [(8, 8, 55, 55)], "strokes": [(x, 8, x + 4, 55) for x in (10, 29, 48)]}
    files = {}
    for shape, boxes in shapes.items():
        image = Image.new("RGBA", (64, 64))
        for box in boxes:
            ImageDraw.Draw(image).rectangle(box, fill="black")
        files[shape] = directory / f"{shape}.png"
        image.save(files[shape])
    return files


def zoomed(picture, zoom):
    return picture.resize((picture.width * zoom, picture.height * zoom), Image.Resampling.NEAREST)


def beside(pictures):
    """One picture of several, from left to right."""
    sheet = Image.new("RGB", (sum(each.width for each in pictures), max(each.height for each in pictures)), "white")
    left = 0
    for each in pictures:
        sheet.paste(each, (left, 0))
        left += each.width
    return sheet


def stacked(pictures, gap=0):
    """One picture of several, from top to bottom."""
    width, height = max(each.width for each in pictures), sum(each.height + gap for each in pictures) - gap
    sheet = Image.new("RGB", (width, height), "white")
    top = 0
    for each in pictures:
        sheet.paste(each, (0, top))
        top += each.height + gap
    return sheet


class Icon(NamedTuple):
    box: Box
    ground: tuple  # the colour under it


@dataclass
class OpenMenu:
    picture: Image.Image
    box: Box
    entries: list  # one box for each entry, separators left out
