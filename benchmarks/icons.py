"""Icons of each size, as files."""

from PIL import Image, ImageDraw


def draw_icon(side, hole):
    """A disc or a ring with a soft edge."""
    scale = 8
    alpha = Image.new("L", (side * scale, side * scale))
    for radius, level in ((0.45, 255), (0.25, 0)) if hole else ((0.45, 255),):
        reach = radius * side * scale
        middle = side * scale / 2
        ImageDraw.Draw(alpha).ellipse((middle - reach, middle - reach, middle + reach, middle + reach), fill=level)
    icon = Image.new("RGBA", (side, side), (40, 70, 110))
    icon.putalpha(alpha.resize((side, side), Image.Resampling.BOX))
    return icon


def make_icons(directory):
    directory.mkdir(parents=True, exist_ok=True)
    for side in (22, 44, 64):
        for index in (0, 1):
            draw_icon(side, hole=index == 1).save(directory / f"{side}-{index}.png")
