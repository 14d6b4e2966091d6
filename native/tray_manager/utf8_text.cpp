#include "utf8_text.h"

#include <string_view>

namespace quill {

namespace {

struct Sequence {
  std::size_t length;
  bool isCharacter;
};

/// What `text` begins with: a character, or else as many bytes as could have begun one, at least one. `text` is not empty.
Sequence firstSequence(std::string_view text) {
  const auto byteAt = [text](std::size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U; };
  const auto lead = byteAt(0);
  if (lead < 0x80) return {1, true};
  if (lead < 0xC2 || lead > 0xF4) return {1, false};
  const std::size_t whole = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  // The second byte's limits leave out what has a shorter form, surrogates, and what lies beyond U+10FFFF.
  auto lowest = lead == 0xE0 ? 0xA0U : lead == 0xF0 ? 0x90U : 0x80U;
  auto highest = lead == 0xED ? 0x9FU : lead == 0xF4 ? 0x8FU : 0xBFU;
  std::size_t length = 1;
  for (; length < whole && byteAt(length) >= lowest && byteAt(length) <= highest; ++length) {
    lowest = 0x80;
    highest = 0xBF;
  }
  return {length, length == whole};
}

}  // namespace

std::string utf8Text(const char* text) {
  std::string wellFormed;
  std::string_view rest(text);
  std::size_t good = 0;
  while (good < rest.size()) {
    const auto [length, isCharacter] = firstSequence(rest.substr(good));
    if (isCharacter) {
      good += length;
      continue;
    }
    wellFormed.append(rest.substr(0, good)).append("\xEF\xBF\xBD");
    rest.remove_prefix(good + length);
    good = 0;
  }
  return wellFormed.append(rest);
}

}  // namespace quill
