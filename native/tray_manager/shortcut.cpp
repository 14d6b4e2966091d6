#include "shortcut.h"

#include <algorithm>
#include <array>

#include "text.h"

namespace quill {

namespace {

struct Modifier {
  std::string_view word;
  ModifierFlags flag;
};

constexpr std::array kModifiers{
    Modifier{"CMD", kCommand}, Modifier{"COMMAND", kCommand}, Modifier{"SHIFT", kShift},  Modifier{"OPTION", kOption},
    Modifier{"ALT", kOption},  Modifier{"CONTROL", kControl}, Modifier{"CTRL", kControl},
};

/// The tab, and Unicode's category Zs.
constexpr std::array<std::string_view, 18> kBlanks{
    "\t",     " ",      "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
    "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200A", "\u202F", "\u205F", "\u3000",
};

std::string_view trim(std::string_view text) {
  const auto find = [](auto isIt) { return std::find_if(kBlanks.begin(), kBlanks.end(), isIt); };
  for (;;) {
    const auto first = find([&](std::string_view blank) { return text.starts_with(blank); });
    if (first == kBlanks.end()) break;
    text.remove_prefix(first->size());
  }
  for (;;) {
    const auto last = find([&](std::string_view blank) { return text.ends_with(blank); });
    if (last == kBlanks.end()) break;
    text.remove_suffix(last->size());
  }
  return text;
}

}  // namespace

std::optional<Shortcut> parseShortcut(std::string_view text) {
  const auto lastPlus = text.rfind('+');
  const auto key = lastPlus == std::string_view::npos ? text : text.substr(lastPlus + 1);
  if (key.empty()) return std::nullopt;

  Shortcut shortcut;
  shortcut.keyEquivalent = isSingleGrapheme(key) ? lowerCase(key) : std::string(key);
  for (size_t begin = 0; begin + key.size() < text.size();) {
    const auto end = text.find('+', begin);
    const auto word = upperCase(trim(text.substr(begin, end - begin)));
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
