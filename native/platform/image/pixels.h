#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "image.h"

namespace quill {

/// Pixels a side, so that a decoded picture takes at most 64 MiB.
inline constexpr std::int64_t kMaxSide = 4096;

/// Makes a transparent picture. Null for a side below 1 or above kMaxSide.
std::shared_ptr<Pixels> makePixels(std::int64_t width, std::int64_t height);

/// Writes the lowest byte of each value.
inline void setPixel(std::uint8_t* to, unsigned red, unsigned green, unsigned blue, unsigned alpha) {
  for (const unsigned value : {red, green, blue, alpha}) *to++ = static_cast<std::uint8_t>(value);
}

/// The row's first byte.
inline std::uint8_t* rowOf(Pixels& pixels, int y) {
  return pixels.rgba.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(pixels.width) * 4;
}

/// Makes an image of one point a pixel. Empty for null.
std::optional<Image> imageOf(std::shared_ptr<const Pixels> pixels);

/// Rotates and mirrors by an orientation of TIFF and EXIF, 1 to 8. Ignores any other number.
void putUpright(Pixels& pixels, unsigned orientation);

/// Divides the colours by alpha.
void unpremultiply(Pixels& pixels);

}  // namespace quill
