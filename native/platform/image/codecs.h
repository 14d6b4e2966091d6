#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "image.h"

namespace quill {

using Bytes = std::span<const std::uint8_t>;

inline std::string_view asText(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};  // NOLINT(*-reinterpret-cast)
}

/// Every PNG begins with these bytes.
inline constexpr std::string_view kPngStart = "\x89PNG\r\n\x1A\n";

// One function a format, each for a whole file. Empty if that is cut short, corrupt or too large, or if the format's
// library is missing. Any thread; nothing is printed.

std::optional<Image> decodePng(Bytes bytes);
/// Turned upright by its EXIF orientation.
std::optional<Image> decodeJpeg(Bytes bytes);
/// The first frame, on a transparent canvas.
std::optional<Image> decodeGif(Bytes bytes);
std::optional<Image> decodeBmp(Bytes bytes);
/// The largest picture; among several, the one with the most bits a pixel.
std::optional<Image> decodeIco(Bytes bytes);
/// The first picture, turned upright.
std::optional<Image> decodeTiff(Bytes bytes);
/// In the file's own size in points, with more pixels than that.
std::optional<Image> decodeSvg(Bytes bytes);

/// A bitmap as in BMP and ICO files, from its header on. `pixelsAt` is the offset of its pixels, 0 for right behind
/// header and palette. In an icon a mask follows the pixels, and the header's height is that of both.
std::optional<Image> decodeBitmap(Bytes bytes, std::size_t pixelsAt, bool isIcon);

}  // namespace quill
