/// Draws a contact sheet of template icons, to be looked at: a row for each bar's colour; for each
/// picture 22 and 44 pixels scaled to 16, then 22 and 44 as they are. One column for each picture.
///
///     template_icons SHEET.png [--tones] PICTURE…
///
/// With --tones a second column for each picture, in the tones that the library does not use: black with white outline.
/// The target `template_icons` builds it.

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "decode_image.h"
#include "outlined_icon.h"

namespace {

using namespace quill;
using freedesktop::IconPixels;

struct Unreference {
  void operator()(GdkPixbuf* pixbuf) const { g_object_unref(pixbuf); }
};
using Pixbuf = std::unique_ptr<GdkPixbuf, Unreference>;

constexpr std::array kBars = {0xFFFFFFU, 0x000000U, 0x2980B9U, 0x767676U, 0x353535U, 0xEDECEBU};
constexpr int kRow = 48;
constexpr int kGap = 4;
constexpr int kColumn = 16 + 16 + 22 + 44 + 4 * kGap;

enum class Tone : guint8 { light = 0, dark = 0xFF };  // what the fill's bytes are turned over with

Pixbuf pictureOf(const IconPixels& icon, Tone tone) {
  std::vector<guint8> rgba;
  for (std::size_t i = 0; i < icon.argb.size(); i += 4) {
    for (std::size_t j = 1; j < 4; ++j) rgba.push_back(icon.argb[i + j] ^ static_cast<guint8>(tone));
    rgba.push_back(icon.argb[i]);
  }
  const Pixbuf borrowed(gdk_pixbuf_new_from_data(rgba.data(), GDK_COLORSPACE_RGB, TRUE, 8, icon.width, icon.height,
                                                 icon.width * 4, nullptr, nullptr));
  return Pixbuf(gdk_pixbuf_copy(borrowed.get()));
}

Pixbuf scaled(const Pixbuf& picture, int side) {
  return Pixbuf(gdk_pixbuf_scale_simple(picture.get(), side, side, GDK_INTERP_BILINEAR));
}

void drawColumn(const Pixbuf& sheet, int left, const std::vector<IconPixels>& icons, Tone tone) {
  auto small = pictureOf(icons.front(), tone);
  auto large = pictureOf(icons.back(), tone);
  const std::array shown = {scaled(small, 16), scaled(large, 16), std::move(small), std::move(large)};
  for (const auto& picture : shown) {
    const int side = gdk_pixbuf_get_width(picture.get());
    for (std::size_t row = 0; row < kBars.size(); ++row) {
      const int top = static_cast<int>(row) * kRow + (kRow - side) / 2;
      gdk_pixbuf_composite(picture.get(), sheet.get(), left, top, side, side, left, top, 1, 1, GDK_INTERP_NEAREST, 255);
    }
    left += side + kGap;
  }
}

}  // namespace

int main(int count, char** arguments) {
  const bool bothTones = count > 2 && std::string_view(arguments[2]) == "--tones";
  const int first = bothTones ? 3 : 2;
  if (count <= first) {
    std::fputs("usage: template_icons SHEET.png [--tones] PICTURE…\n", stderr);
    return 2;
  }
  const int pictures = count - first;
  const int columns = bothTones ? 2 * pictures : pictures;
  const Pixbuf sheet(
      gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, columns * kColumn, kRow * static_cast<int>(kBars.size())));
  for (std::size_t row = 0; row < kBars.size(); ++row) {
    const Pixbuf bar(gdk_pixbuf_new_subpixbuf(sheet.get(), 0, static_cast<int>(row) * kRow, columns * kColumn, kRow));
    gdk_pixbuf_fill(bar.get(), kBars[row] << 8U | 0xFFU);
  }
  for (int i = 0; i < pictures; ++i) {
    std::ifstream file(arguments[first + i], std::ios::binary);
    const std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)), {});
    const auto image = decodeImage(bytes);
    if (!image) {
      std::fprintf(stderr, "no picture: %s\n", arguments[first + i]);
      return 1;
    }
    const auto icons = freedesktop::templateIconPixels(freedesktop::shapeOf(*image->pixels()));
    drawColumn(sheet, i * kColumn + kGap / 2, icons, Tone::light);
    if (bothTones) drawColumn(sheet, (pictures + i) * kColumn + kGap / 2, icons, Tone::dark);
  }
  return gdk_pixbuf_save(sheet.get(), arguments[1], "png", nullptr, "compression", "9", nullptr) ? 0 : 1;
}
