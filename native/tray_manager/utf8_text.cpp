#include "utf8_text.h"

#include <unistr.h>

#include <cstdint>
#include <cstring>

namespace quill {

namespace {

/// The length of the ill-formed sequence at `bytes`: as many bytes as could begin a character, at least one.
size_t illFormedLength(const std::uint8_t* bytes, size_t size) {
  constexpr int kCutShort = -2;
  ucs4_t character = 0;
  size_t length = 1;
  while (length < size && u8_mbtoucr(&character, bytes, length + 1) == kCutShort) ++length;
  return length;
}

}  // namespace

std::string utf8Text(const char* text) {
  std::string wellFormed;
  auto rest = reinterpret_cast<const std::uint8_t*>(text);
  auto size = std::strlen(text);
  while (const auto* bad = u8_check(rest, size)) {
    const auto good = static_cast<size_t>(bad - rest);
    const auto skipped = illFormedLength(bad, size - good);
    wellFormed.append(reinterpret_cast<const char*>(rest), good).append("\xEF\xBF\xBD");
    rest = bad + skipped;
    size -= good + skipped;
  }
  return wellFormed.append(reinterpret_cast<const char*>(rest), size);
}

}  // namespace quill
