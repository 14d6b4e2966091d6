#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace quill {

/// The formats that icons come in and whose decoders ask for a size before they take memory.
enum class ImageFormat { png, jpeg, gif, bmp, ico, tiff, svg };

/// Tells the format from how the bytes begin. Empty: none of ours.
std::optional<ImageFormat> recogniseFormat(std::span<const std::uint8_t> bytes);

/// Whether the file goes on to its own end, with nothing before it that the decoder would take memory
/// for, or complain of, too early. True for formats whose decoder reports all of that.
bool reachesItsEnd(ImageFormat format, std::span<const std::uint8_t> bytes);

/// Whether an icon can have use for so many pixels.
bool isUsefulSize(std::int64_t width, std::int64_t height);

/// The decoder's name for a format.
const char* loaderName(ImageFormat format);

}  // namespace quill
