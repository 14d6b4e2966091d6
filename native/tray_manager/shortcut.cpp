#include "shortcut.h"

#include <unicase.h>
#include <unictype.h>
#include <unigbrk.h>
#include <unistr.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace quill {

namespace {

const std::uint8_t* bytesOf(std::string_view text) { return reinterpret_cast<const std::uint8_t*>(text.data()); }

struct Modifier {
  std::string_view word;
  ModifierFlags flag;
};

constexpr std::array kModifiers{
    Modifier{"CMD", kCommand}, Modifier{"COMMAND", kCommand}, Modifier{"SHIFT", kShift},  Modifier{"OPTION", kOption},
    Modifier{"ALT", kOption},  Modifier{"CONTROL", kControl}, Modifier{"CTRL", kControl},
};

using CaseMapping = std::uint8_t* (*)(const std::uint8_t*, size_t, const char*, uninorm_t, std::uint8_t*, size_t*);

// Full case mapping, independent of the locale: in a Turkish one, "shift" in upper case is not "SHIFT".
// Returns `text` if there is no memory.
std::string mapCase(CaseMapping mapping, std::string_view text) {
  size_t length = 0;
  const std::unique_ptr<std::uint8_t, decltype(&std::free)> mapped(
      mapping(bytesOf(text), text.size(), "en", nullptr, nullptr, &length), &std::free);
  if (!mapped) return std::string(text);
  return {reinterpret_cast<const char*>(mapped.get()), length};
}

bool isBlank(ucs4_t character) { return character == '\t' || uc_is_general_category(character, UC_SPACE_SEPARATOR); }

std::string_view trim(std::string_view text) {
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
  return text;
}

bool isSingleGrapheme(std::string_view text) {
  std::vector<char> breaks(text.size());
  u8_grapheme_breaks(bytesOf(text), text.size(), breaks.data());
  return std::count(breaks.begin(), breaks.end(), 1) == 1;
}

}  // namespace

std::optional<Shortcut> parseShortcut(std::string_view text) {
  const auto lastPlus = text.rfind('+');
  const auto key = lastPlus == std::string_view::npos ? text : text.substr(lastPlus + 1);
  if (key.empty()) return std::nullopt;

  Shortcut shortcut;
  shortcut.keyEquivalent = isSingleGrapheme(key) ? mapCase(u8_tolower, key) : std::string(key);
  for (size_t begin = 0; begin + key.size() < text.size();) {
    const auto end = text.find('+', begin);
    const auto word = mapCase(u8_toupper, trim(text.substr(begin, end - begin)));
    const auto known =
        std::find_if(kModifiers.begin(), kModifiers.end(), [&](const auto& modifier) { return modifier.word == word; });
    if (known == kModifiers.end()) {
      shortcut.unknownModifiers.push_back(word);
    } else {
      shortcut.modifiers = shortcut.modifiers | known->flag;
    }
    begin = end + 1;
  }
  return shortcut;
}

}  // namespace quill
