#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "menu.h"

namespace quill {

/// What a shortcut text such as "Cmd+Shift+K" says.
struct Shortcut {
  std::string keyEquivalent;  ///< in lower case where it is a single grapheme cluster
  ModifierFlags modifiers;
  std::vector<std::string> unknownModifiers;  ///< trimmed, in upper case, in the order of the text
};

/// Reads parts joined by "+": modifier words, then the key. Empty where the key part is empty.
/// `text` is well-formed UTF-8. Independent of the locale.
std::optional<Shortcut> parseShortcut(std::string_view text);

}  // namespace quill
