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
