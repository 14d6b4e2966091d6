#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace quill {

/// The formats that icons come in and whose decoders ask for a size before they take memory.
enum class ImageFormat { png, jpeg, gif, bmp, ico, tiff, svg };

/// Tells the format from how the bytes begin. Empty: none of ours.
std::optional<ImageFormat> recogniseFormat(std::span<const std::uint8_t> bytes);

/// Whether the file goes on to its own end. Only for formats whose decoder fills up what is missing
/// without a word; true for the others, which report it.
bool reachesItsEnd(ImageFormat format, std::span<const std::uint8_t> bytes);

/// The decoder's name for a format.
const char* loaderName(ImageFormat format);

}  // namespace quill
