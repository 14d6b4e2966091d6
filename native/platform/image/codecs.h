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

// One function a format. Each takes a whole file and returns empty if the file is cut short, corrupt or too large, or
// if the format's library is missing. None prints. Any thread.

std::optional<Image> decodePng(Bytes bytes);
/// Turns the picture upright by its EXIF orientation.
std::optional<Image> decodeJpeg(Bytes bytes);
/// Returns the first frame, on a transparent canvas.
std::optional<Image> decodeGif(Bytes bytes);
std::optional<Image> decodeBmp(Bytes bytes);
/// Returns the largest picture; among several of that size, the one with the most bits a pixel.
std::optional<Image> decodeIco(Bytes bytes);
/// Returns the first picture, turned upright.
std::optional<Image> decodeTiff(Bytes bytes);
/// Returns the picture in the file's own size in points, with more pixels than points.
std::optional<Image> decodeSvg(Bytes bytes);

/// Decodes a bitmap of a BMP or ICO file, which begins with its header. `pixelsAt` is the offset of the pixels; 0 means
/// that they follow header and palette. In an icon a mask follows the pixels, and the header's height counts both.
std::optional<Image> decodeBitmap(Bytes bytes, std::size_t pixelsAt, bool isIcon);

}  // namespace quill
