#include "utf8_text.h"

#include <unistr.h>

#include <cstdint>
#include <cstring>

namespace quill {

std::string utf8Text(const char* text) {
  std::string wellFormed;
  auto rest = reinterpret_cast<const std::uint8_t*>(text);
  auto size = std::strlen(text);
  while (const auto* bad = u8_check(rest, size)) {
    const auto good = static_cast<size_t>(bad - rest);
    ucs4_t replacement = 0;
    const auto skipped = static_cast<size_t>(u8_mbtouc(&replacement, bad, size - good));
    wellFormed.append(reinterpret_cast<const char*>(rest), good).append("\xEF\xBF\xBD");
    rest = bad + skipped;
    size -= good + skipped;
  }
  return wellFormed.append(reinterpret_cast<const char*>(rest), size);
}

}  // namespace quill
