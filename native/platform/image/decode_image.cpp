#include "decode_image.h"

#include <string_view>

#include "codecs.h"

namespace quill {
namespace {

/// Recognises XML in an encoding that contains ASCII. Rejects SVGZ, because it could unpack to any size.
bool beginsAsMarkup(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const auto start = text.find_first_not_of(" \t\r\n");
  return start != std::string_view::npos && text[start] == '<';
}

}  // namespace

std::optional<Image> decodeImage(Bytes bytes) {
  using namespace std::string_view_literals;
  constexpr struct {
    std::string_view start;
    std::optional<Image> (*decode)(Bytes);
  } kFormats[] = {
      {kPngStart, decodePng},    {"\xFF\xD8\xFF"sv, decodeJpeg}, {"GIF8"sv, decodeGif},   {"BM"sv, decodeBmp},
      {"\0\0\1\0"sv, decodeIco}, {"II*\0"sv, decodeTiff},        {"MM\0*"sv, decodeTiff},
  };
  for (const auto& format : kFormats) {
    if (asText(bytes).starts_with(format.start)) return format.decode(bytes);
  }
  return beginsAsMarkup(asText(bytes)) ? decodeSvg(bytes) : std::nullopt;
}

}  // namespace quill
