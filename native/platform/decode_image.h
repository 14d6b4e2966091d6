#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "image.h"

namespace quill {

/// Decodes a PNG, BMP or ICO, or a JPEG, GIF, TIFF or SVG if the machine has its library, which is then
/// loaded. Takes the first of several pictures, of an ICO the largest. A pixel is a point, except in an SVG,
/// which has its own size in points. Empty for bytes that are no image, cut short, corrupt, or of more than
/// 4096 pixels a side. Of an SVG, at most 1 MiB is read, and text, filters, patterns and embedded images are
/// left out; drawing it may take long. Any thread; the bytes are not kept.
std::optional<Image> decodeImage(std::span<const std::uint8_t> bytes);

}  // namespace quill
