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

// One function a format. Each is given a whole file; empty for what is cut short, corrupt or too large, and where the
// format's library is missing. Any thread; nothing is printed.

std::optional<Image> decodePng(Bytes bytes);
/// Upright, as the camera was held.
std::optional<Image> decodeJpeg(Bytes bytes);
/// The first frame, on a clear canvas.
std::optional<Image> decodeGif(Bytes bytes);
std::optional<Image> decodeBmp(Bytes bytes);
/// The largest picture; of those the one with the most bits a pixel.
std::optional<Image> decodeIco(Bytes bytes);
/// The first picture, upright.
std::optional<Image> decodeTiff(Bytes bytes);
/// Its natural size in points, and more pixels than that.
std::optional<Image> decodeSvg(Bytes bytes);

/// A bitmap as BMP and ICO hold it, from its header on. `pixelsAt` is where its pixels begin, 0 for right after the
/// header and the colours. In an icon a mask follows the pixels, and the height is that of both.
std::optional<Image> decodeBitmap(Bytes bytes, std::size_t pixelsAt, bool isIcon);

}  // namespace quill
