#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "image.h"

namespace quill {

/// Of a picture, in pixels: at most 64 MiB decoded.
inline constexpr std::int64_t kMaxSide = 4096;

/// A clear picture; null for a size that no icon has use for, before its memory is taken.
std::shared_ptr<Pixels> makePixels(std::int64_t width, std::int64_t height);

/// The row's first byte.
inline std::uint8_t* rowOf(Pixels& pixels, int y) {
  return pixels.rgba.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(pixels.width) * 4;
}

/// One point a pixel; none for null.
std::optional<Image> imageOf(std::shared_ptr<const Pixels> pixels);

/// Turns and mirrors by the number that TIFF and EXIF have for it, 1 to 8; any other leaves the picture as it is.
void putUpright(Pixels& pixels, unsigned orientation);

/// Takes the opacity out of the colours, which `rgba` has multiplied by it.
void unpremultiply(Pixels& pixels);

}  // namespace quill
