#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "image.h"

namespace quill {

/// Decodes an image in any format that the machine's decoder reads; of several pictures the first.
/// One pixel is one point. Empty for bytes that are no image, are cut short, or claim more pixels
/// than an icon can have use for. Any thread; the bytes are not kept.
std::optional<Image> decodeImage(std::span<const std::uint8_t> bytes);

}  // namespace quill
