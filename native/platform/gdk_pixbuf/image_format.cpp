#include "image_format.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace quill {
namespace {

using Bytes = std::span<const std::uint8_t>;

/// In pixels: at most 64 MiB decoded.
constexpr std::int64_t kLongestSide = 4096;

std::string_view asText(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};  // NOLINT(*-reinterpret-cast)
}

/// The unsigned numbers below read as 0 where the bytes end before them.
std::uint64_t bigEndian(Bytes bytes, std::size_t at, std::size_t count) {
  std::uint64_t value = 0;
  if (at > bytes.size() || bytes.size() - at < count) return 0;
  for (std::size_t i = 0; i < count; ++i) value = value << 8 | bytes[at + i];
  return value;
}

std::uint64_t littleEndian(Bytes bytes, std::size_t at, std::size_t count) {
  std::uint64_t value = 0;
  if (at > bytes.size() || bytes.size() - at < count) return 0;
  for (std::size_t i = count; i > 0; --i) value = value << 8 | bytes[at + i - 1];
  return value;
}

bool pngReachesItsEnd(Bytes bytes) {
  constexpr std::size_t kSignature = 8;
  constexpr std::size_t kAroundData = 12;  // length, type, checksum
  for (std::size_t at = kSignature; bytes.size() - std::min(at, bytes.size()) >= kAroundData;) {
    const auto length = bigEndian(bytes, at, 4);
    if (length > bytes.size() - at - kAroundData) return false;
    if (asText(bytes.subspan(at + 4, 4)) == "IEND") return true;
    at += kAroundData + length;
  }
  return false;
}

bool jpegReachesItsEnd(Bytes bytes) {
  constexpr std::uint8_t kEndOfImage = 0xD9;
  constexpr std::uint8_t kStartOfScan = 0xDA;
  bool inScan = false;
  for (std::size_t at = 2; at + 1 < bytes.size();) {
    const auto marker = bytes[at + 1];
    // Between markers there is compressed data, in which FF is followed by 00 or by a restart marker.
    if (bytes[at] != 0xFF || marker == 0xFF || (inScan && (marker == 0x00 || (marker >= 0xD0 && marker <= 0xD7)))) {
      ++at;
    } else if (marker == kEndOfImage) {
      return true;
    } else {
      inScan = marker == kStartOfScan;
      at += 2 + bigEndian(bytes, at + 2, 2);
    }
  }
  return false;
}

/// Also whether each frame is of a useful size and within the picture, which the decoder does not ask about: it
/// takes the memory for any, and complains of one without pixels or beyond the edge as of a fault in the program.
bool gifReachesItsEnd(Bytes bytes) {
  constexpr std::size_t kScreen = 13;
  constexpr std::size_t kFrame = 10;
  const auto number = [&](std::size_t at) { return static_cast<std::int64_t>(littleEndian(bytes, at, 2)); };
  const auto colourTable = [&](std::size_t flagsAt) {
    const auto flags = littleEndian(bytes, flagsAt, 1);
    return (flags & 0x80U) != 0 ? std::size_t{6} << (flags & 7U) : 0;
  };
  const auto afterBlocks = [&](std::size_t at) {
    while (at < bytes.size() && bytes[at] != 0) at += std::size_t{1} + bytes[at];
    return at + 1;
  };
  for (std::size_t at = kScreen + colourTable(10); at < bytes.size();) {
    switch (bytes[at]) {
      case ';':
        return true;
      case '!':
        at = afterBlocks(at + 2);
        break;
      case ',':
        if (!isUsefulSize(number(at + 5), number(at + 7)) || number(at + 1) + number(at + 5) > number(6) ||
            number(at + 3) + number(at + 7) > number(8)) {
          return false;
        }
        at = afterBlocks(at + kFrame + colourTable(at + 9) + 1);
        break;
      default:
        ++at;
    }
  }
  return false;
}

bool bmpReachesItsEnd(Bytes bytes) {
  constexpr std::size_t kFileHeader = 14;
  // Of all its parts: the decoder takes the memory for one before it has read any of it.
  const auto header = kFileHeader + littleEndian(bytes, kFileHeader, 4);
  const auto pixels = littleEndian(bytes, 10, 4);
  return std::max({littleEndian(bytes, 2, 4), header, pixels}) <= bytes.size();
}

bool icoReachesItsEnd(Bytes bytes) {
  constexpr std::size_t kDirectory = 6;
  constexpr std::size_t kEntry = 16;
  const auto count = littleEndian(bytes, 4, 2);
  if (kDirectory + count * kEntry > bytes.size()) return false;
  for (std::size_t i = 0; i < count; ++i) {
    const auto entry = kDirectory + i * kEntry;
    if (littleEndian(bytes, entry + 8, 4) + littleEndian(bytes, entry + 12, 4) > bytes.size()) return false;
  }
  return true;
}

/// An XML text in an encoding that keeps ASCII as it is.
bool beginsAsMarkup(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const auto start = text.find_first_not_of(" \t\r\n");
  return start != std::string_view::npos && text[start] == '<';
}

}  // namespace

std::optional<ImageFormat> recogniseFormat(Bytes bytes) {
  using namespace std::string_view_literals;
  constexpr struct {
    std::string_view start;
    ImageFormat format;
  } kStarts[] = {
      {"\x89PNG\r\n\x1A\n"sv, ImageFormat::png},
      {"\xFF\xD8\xFF"sv, ImageFormat::jpeg},
      {"GIF8"sv, ImageFormat::gif},
      {"BM"sv, ImageFormat::bmp},
      {"\0\0\1\0"sv, ImageFormat::ico},
      {"II*\0"sv, ImageFormat::tiff},
      {"MM\0*"sv, ImageFormat::tiff},
  };
  const auto text = asText(bytes);
  for (const auto& known : kStarts) {
    if (text.starts_with(known.start)) return known.format;
  }
  if (beginsAsMarkup(text)) return ImageFormat::svg;
  return std::nullopt;
}

bool reachesItsEnd(ImageFormat format, Bytes bytes) {
  switch (format) {
    case ImageFormat::png:
      return pngReachesItsEnd(bytes);
    case ImageFormat::jpeg:
      return jpegReachesItsEnd(bytes);
    case ImageFormat::bmp:
      return bmpReachesItsEnd(bytes);
    case ImageFormat::ico:
      return icoReachesItsEnd(bytes);
    case ImageFormat::gif:
      return gifReachesItsEnd(bytes);
    case ImageFormat::tiff:
    case ImageFormat::svg:
      break;
  }
  return true;
}

bool isUsefulSize(std::int64_t width, std::int64_t height) {
  return std::min(width, height) > 0 && std::max(width, height) <= kLongestSide;
}

const char* loaderName(ImageFormat format) {
  switch (format) {
    case ImageFormat::png:
      return "png";
    case ImageFormat::jpeg:
      return "jpeg";
    case ImageFormat::gif:
      return "gif";
    case ImageFormat::bmp:
      return "bmp";
    case ImageFormat::ico:
      return "ico";
    case ImageFormat::tiff:
      return "tiff";
    case ImageFormat::svg:
      break;
  }
  return "svg";
}

}  // namespace quill
