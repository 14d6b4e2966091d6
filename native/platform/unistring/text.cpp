#include "text.h"

#include <unicase.h>
#include <unigbrk.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace quill {

namespace {

const std::uint8_t* bytesOf(std::string_view text) { return reinterpret_cast<const std::uint8_t*>(text.data()); }

using CaseMapping = std::uint8_t* (*)(const std::uint8_t*, size_t, const char*, uninorm_t, std::uint8_t*, size_t*);

// The text as it was where the library runs out of memory.
std::string mapCase(CaseMapping mapping, std::string_view text) {
  size_t length = 0;
  const std::unique_ptr<std::uint8_t, decltype(&std::free)> mapped(
      mapping(bytesOf(text), text.size(), "en", nullptr, nullptr, &length), &std::free);
  if (!mapped) return std::string(text);
  return {reinterpret_cast<const char*>(mapped.get()), length};
}

}  // namespace

std::string lowerCase(std::string_view text) { return mapCase(u8_tolower, text); }

std::string upperCase(std::string_view text) { return mapCase(u8_toupper, text); }

bool isSingleGrapheme(std::string_view text) {
  std::vector<char> breaks(text.size());
  u8_grapheme_breaks(bytesOf(text), text.size(), breaks.data());
  return std::count(breaks.begin(), breaks.end(), 1) == 1;
}

}  // namespace quill
