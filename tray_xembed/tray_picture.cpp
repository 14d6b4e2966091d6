#include "tray_picture.h"

#include <X11/Xatom.h>
#include <gdk/gdkx.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

namespace quill::xembed {
namespace {

using Picture = freedesktop::ObjectPointer<GdkPixbuf>;

constexpr int kMaxSide = 512;
constexpr int kChannels = 4;

/// The lower, the better a height fits. A height up to an eighth too small is shown without scaling. Next best is the
/// smallest larger height, then the largest smaller one.
int misfit(int height, int side) {
  if (height <= side && side - height <= side / 8) return side - height;
  return height > side ? height : 2 * kMaxSide - height;
}

/// `argb` has rows from the top, and alpha, red, green and blue of each pixel.
Picture pictureOf(const guint8* argb, int width, int height, std::optional<Colour> ink) {
  Picture picture(gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, width, height));  // whose rows need no padding
  auto* to = gdk_pixbuf_get_pixels(picture.get());
  for (const auto* end = argb + gdk_pixbuf_get_byte_length(picture.get()); argb != end;
       argb += kChannels, to += kChannels) {
    std::ranges::copy(ink.value_or(Colour{argb[1], argb[2], argb[3]}), to);
    to[3] = ink ? static_cast<guint8>(argb[0] * argb[1] / 255) : argb[0];
  }
  return picture;
}

}  // namespace

std::optional<Colour> trayInk() {
  auto* const display = gdk_x11_get_default_xdisplay();
  const auto tray = "_NET_SYSTEM_TRAY_S" + std::to_string(gdk_x11_get_default_screen());
  const auto owner = XGetSelectionOwner(display, gdk_x11_get_xatom_by_name(tray.c_str()));
  constexpr unsigned long kValues = 12;  // 16 bits each: text, error, warning, success
  Atom type = None;
  int format = 0;
  unsigned long count = 0, left = 0;
  unsigned char* data = nullptr;
  gdk_error_trap_push();  // there may be no tray
  XGetWindowProperty(display, owner, gdk_x11_get_xatom_by_name(kTrayColours), 0, kValues, False, XA_CARDINAL, &type,
                     &format, &count, &left, &data);
  gdk_error_trap_pop_ignored();
  const std::unique_ptr<unsigned char, int (*)(void*)> owned(data, XFree);
  if (format != 32 || count != kValues) return std::nullopt;
  const auto* const values = reinterpret_cast<const unsigned long*>(data);
  const auto channel = [&](int index) { return static_cast<guint8>(values[index] >> 8); };
  return Colour{channel(0), channel(1), channel(2)};
}

Picture trayPicture(GVariant* pixmaps, int side, std::optional<Colour> ink) {
  Picture best;
  const auto isSide = [](int length) { return length > 0 && length <= kMaxSide; };
  for (std::size_t i = 0; i < g_variant_n_children(pixmaps); ++i) {
    int width = 0, height = 0;
    g_autoptr(GVariant) bytes = nullptr;
    g_variant_get_child(pixmaps, i, "(ii@ay)", &width, &height, &bytes);
    if (!isSide(width) || !isSide(height) || static_cast<int>(g_variant_get_size(bytes)) != kChannels * width * height)
      continue;
    if (best && misfit(height, side) >= misfit(gdk_pixbuf_get_height(best.get()), side)) continue;
    best = pictureOf(static_cast<const guint8*>(g_variant_get_data(bytes)), width, height, ink);
  }
  const int height = best ? gdk_pixbuf_get_height(best.get()) : 0;
  if (!best || misfit(height, side) <= side / 8) return best;
  const int width = std::max(1, gdk_pixbuf_get_width(best.get()) * side / height);
  return Picture(gdk_pixbuf_scale_simple(best.get(), width, side, GDK_INTERP_BILINEAR));
}

}  // namespace quill::xembed
