#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "image.h"

namespace quill {

/// Decodes a PNG, BMP or ICO. Decodes a JPEG, GIF, TIFF or SVG if the machine has the format's library, which the
/// first such image loads. Of several pictures in a file, returns the first, of an ICO the largest. One pixel is one
/// point; an SVG names its own size in points.
///
/// Returns empty for bytes that are no image, and for an image that is cut short, corrupt, or larger than 4096 pixels a
/// side. Rejects an SVG of more than 1 MiB, ignores its text, filters, patterns and embedded images, and takes as long
/// as the drawing takes. Any thread; does not keep the bytes.
std::optional<Image> decodeImage(std::span<const std::uint8_t> bytes);

}  // namespace quill
