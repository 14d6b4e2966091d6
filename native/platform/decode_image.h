#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "image.h"

namespace quill {

/// Decodes an image in one of the formats that icons come in: PNG, BMP, ICO; JPEG, GIF, TIFF and SVG
/// where the machine has their library, which is loaded then. Of several pictures it is the first, in
/// an ICO the largest. One pixel is one point, but an SVG has its own size in points, and more pixels
/// than that.
/// Empty for bytes that are no image, are cut short or corrupt, or claim more than 4096 pixels a side.
/// A host vouches for the pictures that it ships: an SVG of at most 1 MiB does no harm and reads no
/// file and no network, but may take long if it was drawn to; its text, filters, pattern fills and
/// embedded images are left out. Any thread; the bytes are not kept.
std::optional<Image> decodeImage(std::span<const std::uint8_t> bytes);

}  // namespace quill
