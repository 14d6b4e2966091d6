#include <utility>

#include "byte_reader.h"
#include "codecs.h"

namespace quill {

std::optional<Image> decodeIco(Bytes bytes) {
  constexpr std::size_t kDirectory = 6;
  constexpr std::size_t kEntry = 16;
  const ByteReader file(bytes);
  const auto side = [&](std::size_t at) { return file.u8(at) == 0 ? 256U : file.u8(at); };

  Bytes best;
  std::pair<std::uint32_t, std::uint32_t> bestRank;  // pixels, bits a pixel
  const std::size_t count = file.u16(4);
  for (std::size_t entry = kDirectory; entry < kDirectory + count * kEntry; entry += kEntry) {
    const std::size_t size = file.u32(entry + 8);
    const std::size_t at = file.u32(entry + 12);
    if (!file.has(entry, kEntry) || !file.has(at, size)) return std::nullopt;
    const auto picture = bytes.subspan(at, size);
    const bool isPng = asText(picture).starts_with(kPngStart);
    const std::pair rank(side(entry) * side(entry + 1), isPng ? 32 : ByteReader(picture).u16(14));
    if (rank > bestRank) {
      best = picture;
      bestRank = rank;
    }
  }
  return asText(best).starts_with(kPngStart) ? decodePng(best) : decodeBitmap(best, 0, true);
}

}  // namespace quill
