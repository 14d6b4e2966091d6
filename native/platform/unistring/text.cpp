#include "text.h"

#include <unicase.h>
#include <unictype.h>
#include <unigbrk.h>
#include <unistr.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace quill {

namespace {

const std::uint8_t* bytesOf(std::string_view text) { return reinterpret_cast<const std::uint8_t*>(text.data()); }

/// The length of the ill-formed sequence at `bytes`: the bytes that could begin a character, but at least one.
size_t illFormedLength(const std::uint8_t* bytes, size_t size) {
  constexpr int kCutShort = -2;
  ucs4_t character = 0;
  size_t length = 1;
  while (length < size && u8_mbtoucr(&character, bytes, length + 1) == kCutShort) ++length;
  return length;
}

using CaseMapping = std::uint8_t* (*)(const std::uint8_t*, size_t, const char*, uninorm_t, std::uint8_t*, size_t*);

/// Returns `text` if there is no memory.
std::string mapCase(CaseMapping mapping, std::string_view text) {
  size_t length = 0;
  const std::unique_ptr<std::uint8_t, decltype(&std::free)> mapped(
      mapping(bytesOf(text), text.size(), "en", nullptr, nullptr, &length), &std::free);
  if (!mapped) return std::string(text);
  return {reinterpret_cast<const char*>(mapped.get()), length};
}

bool isBlank(ucs4_t character) { return character == '\t' || uc_is_general_category(character, UC_SPACE_SEPARATOR); }

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

std::string lowerCase(std::string_view text) { return mapCase(u8_tolower, text); }

std::string upperCase(std::string_view text) { return mapCase(u8_toupper, text); }

std::string trim(std::string_view text) {
  ucs4_t character = 0;
  while (!text.empty()) {
    const int length = u8_mbtouc(&character, bytesOf(text), text.size());
    if (!isBlank(character)) break;
    text.remove_prefix(static_cast<size_t>(length));
  }
  while (!text.empty()) {
    const auto* last = u8_prev(&character, bytesOf(text) + text.size(), bytesOf(text));
    if (!last || !isBlank(character)) break;
    text = text.substr(0, static_cast<size_t>(last - bytesOf(text)));
  }
  return std::string(text);
}

bool isSingleGrapheme(std::string_view text) {
  std::vector<char> breaks(text.size());
  u8_grapheme_breaks(bytesOf(text), text.size(), breaks.data());
  return std::count(breaks.begin(), breaks.end(), 1) == 1;
}

}  // namespace quill
