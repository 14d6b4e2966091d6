#include "shortcut.h"

#include "testing.h"

namespace quill::tests {

/// "[key] modifiers <unknown word>…", with shift as 1, control 2, option 4 and command 8.
std::string read(const std::string& text) {
  const auto shortcut = parseShortcut(text);
  if (!shortcut) return "refused";
  auto all = "[" + shortcut->keyEquivalent + "] " + std::to_string(shortcut->modifiers.rawValue >> 17U);
  for (const auto& word : shortcut->unknownModifiers) all += " <" + word + ">";
  return all;
}

TEST(Shortcut, TextGivesKeyAndModifiers) {
  for (const auto& [text, expected] : casesIn(CASES "../tray_manager/shortcuts.txt")) EXPECT_EQ(read(text), expected);
  EXPECT_EQ(read("\nCmd+K"), "[k] 0 <\nCMD>");
}

}  // namespace quill::tests
