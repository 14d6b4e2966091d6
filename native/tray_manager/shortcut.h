#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "menu.h"

namespace quill {

/// A shortcut text such as "Cmd+Shift+K", parsed.
struct Shortcut {
  std::string keyEquivalent;  ///< in lower case if it is a single grapheme cluster
  ModifierFlags modifiers;
  std::vector<std::string> unknownModifiers;  ///< trimmed, in upper case, in the order of the text
};

/// Parses parts joined by "+": modifier words, then the key. Returns nothing if the key is empty. `text` is well-formed
/// UTF-8. The locale has no influence.
std::optional<Shortcut> parseShortcut(std::string_view text);

}  // namespace quill
