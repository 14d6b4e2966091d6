#include "image_format.h"

#include <string_view>

namespace quill {
namespace {

/// An XML text in an encoding that keeps ASCII as it is; not a packed one, which could unpack to any size.
bool beginsAsMarkup(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const auto start = text.find_first_not_of(" \t\r\n");
  return start != std::string_view::npos && text[start] == '<';
}

}  // namespace

std::optional<ImageFormat> recogniseFormat(std::span<const std::uint8_t> bytes) {
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
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());  // NOLINT(*-reinterpret-cast)
  for (const auto& known : kStarts) {
    if (text.starts_with(known.start)) return known.format;
  }
  if (beginsAsMarkup(text)) return ImageFormat::svg;
  return std::nullopt;
}

}  // namespace quill
