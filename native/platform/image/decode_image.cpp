#include "decode_image.h"

#include "codecs.h"
#include "image_format.h"

namespace quill {

std::optional<Image> decodeImage(std::span<const std::uint8_t> bytes) {
  const auto format = recogniseFormat(bytes);
  if (!format) return std::nullopt;
  switch (*format) {
    case ImageFormat::png:
      return decodePng(bytes);
    case ImageFormat::jpeg:
      return decodeJpeg(bytes);
    case ImageFormat::gif:
      return decodeGif(bytes);
    case ImageFormat::bmp:
      return decodeBmp(bytes);
    case ImageFormat::ico:
      return decodeIco(bytes);
    case ImageFormat::tiff:
      return decodeTiff(bytes);
    case ImageFormat::svg:
      break;
  }
  return decodeSvg(bytes);
}

}  // namespace quill
