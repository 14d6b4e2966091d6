#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "image.h"

namespace quill {

/// Decodes an image in one of the formats that icons come in (PNG, JPEG, GIF, BMP, ICO, TIFF; SVG
/// where the machine has its decoder, and as far as it is made of shapes); of several pictures the
/// first. One pixel is one point, but an SVG has its own size in points, and more pixels than that.
/// Empty for bytes that are no image, are cut short, or claim more pixels than an icon can have use
/// for. Any thread; the bytes are not kept.
std::optional<Image> decodeImage(std::span<const std::uint8_t> bytes);

}  // namespace quill
