#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace quill {

/// The formats that icons come in.
enum class ImageFormat { png, jpeg, gif, bmp, ico, tiff, svg };

/// Tells the format from how the bytes begin. Empty: none of ours.
std::optional<ImageFormat> recogniseFormat(std::span<const std::uint8_t> bytes);

}  // namespace quill
