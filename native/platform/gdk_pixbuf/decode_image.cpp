#include "decode_image.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include "image_format.h"
#include "svg_bounds.h"

namespace quill {
namespace {

/// A vector image is drawn with this many pixels on its longer side, whatever size it claims: twice
/// what the sharpest bars show.
constexpr int kVectorSide = 88;

struct Unreference {
  void operator()(void* object) const { g_object_unref(object); }
};
using PixbufPointer = std::unique_ptr<GdkPixbuf, Unreference>;

/// One decoding, from a format to the picture.
class Decoding {
 public:
  explicit Decoding(ImageFormat format)
      : isVector_(format == ImageFormat::svg), loader_(gdk_pixbuf_loader_new_with_type(loaderName(format), nullptr)) {
    if (loader_) g_signal_connect(loader_.get(), "size-prepared", G_CALLBACK(sizePrepared), this);
  }
  Decoding(const Decoding&) = delete;
  Decoding& operator=(const Decoding&) = delete;
  ~Decoding() {
    if (loader_ && !closed_) gdk_pixbuf_loader_close(loader_.get(), nullptr);
  }

  /// Null for what is refused.
  PixbufPointer decode(std::span<const std::uint8_t> bytes) {
    if (!loader_ || !gdk_pixbuf_loader_write(loader_.get(), bytes.data(), bytes.size(), nullptr)) return nullptr;
    closed_ = true;
    if (!gdk_pixbuf_loader_close(loader_.get(), nullptr) || refused_) return nullptr;
    auto* const pixbuf = gdk_pixbuf_loader_get_pixbuf(loader_.get());
    return PixbufPointer(pixbuf ? gdk_pixbuf_apply_embedded_orientation(pixbuf) : nullptr);
  }

  /// The natural size of a vector image in points.
  Size naturalSize() const { return naturalSize_; }

 private:
  static void sizePrepared(GdkPixbufLoader* loader, int width, int height, void* self) {
    static_cast<Decoding*>(self)->chooseSize(loader, width, height);
  }

  void chooseSize(GdkPixbufLoader* loader, int width, int height) {
    const int longer = std::max(width, height);
    if (isVector_ ? std::min(width, height) < 1 : !isUsefulSize(width, height)) {
      refused_ = true;
      gdk_pixbuf_loader_set_size(loader, 0, 0);  // the one size that keeps decoders from taking memory
      return;
    }
    if (!isVector_) return;
    naturalSize_ = {static_cast<double>(width), static_cast<double>(height)};
    const auto scaled = [&](int side) {
      return std::max(1, static_cast<int>(std::lround(static_cast<double>(side) * kVectorSide / longer)));
    };
    gdk_pixbuf_loader_set_size(loader, scaled(width), scaled(height));
  }

  bool isVector_;
  bool refused_ = false;
  bool closed_ = false;
  Size naturalSize_;
  std::unique_ptr<GdkPixbufLoader, Unreference> loader_;
};

std::shared_ptr<const Pixels> copyPixels(const GdkPixbuf* pixbuf) {
  const auto width = static_cast<std::size_t>(gdk_pixbuf_get_width(pixbuf));
  const auto height = static_cast<std::size_t>(gdk_pixbuf_get_height(pixbuf));
  const auto channels = static_cast<std::size_t>(gdk_pixbuf_get_n_channels(pixbuf));
  const auto stride = static_cast<std::size_t>(gdk_pixbuf_get_rowstride(pixbuf));
  const guint8* const source = gdk_pixbuf_read_pixels(pixbuf);

  auto pixels = std::make_shared<Pixels>();
  pixels->width = static_cast<int>(width);
  pixels->height = static_cast<int>(height);
  pixels->rgba.resize(width * height * 4);
  auto* to = pixels->rgba.data();
  for (std::size_t y = 0; y < height; ++y) {
    const guint8* from = source + y * stride;
    for (std::size_t x = 0; x < width; ++x, from += channels, to += 4) {
      to[0] = from[0];
      to[1] = from[1];
      to[2] = from[2];
      to[3] = channels == 4 ? from[3] : 255;
    }
  }
  return pixels;
}

}  // namespace

std::optional<Image> decodeImage(std::span<const std::uint8_t> bytes) {
  const auto format = recogniseFormat(bytes);
  if (!format || !reachesItsEnd(*format, bytes)) return std::nullopt;
  const bool isVector = format == ImageFormat::svg;
  if (isVector && !isAffordableSvg({reinterpret_cast<const char*>(bytes.data()), bytes.size()})) {
    return std::nullopt;
  }

  Decoding decoding(*format);
  const auto pixbuf = decoding.decode(bytes);
  if (!pixbuf || gdk_pixbuf_get_bits_per_sample(pixbuf.get()) != 8) return std::nullopt;
  auto pixels = copyPixels(pixbuf.get());
  const Size size =
      isVector ? decoding.naturalSize() : Size{static_cast<double>(pixels->width), static_cast<double>(pixels->height)};
  return Image(std::move(pixels), size);
}

}  // namespace quill
