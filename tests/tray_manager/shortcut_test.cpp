#include "shortcut.h"

#include <gtest/gtest.h>

namespace quill::testing {
namespace {

TEST(Shortcut, ReadsModifiersAndKey) {
  const std::tuple<std::string, std::string, ModifierFlags, std::vector<std::string>> cases[] = {
      {"K", "k", {}, {}},
      {"shift+Command+K", "k", kCommand | kShift, {}},
      {"Ctrl+Alt+Delete", "Delete", kControl | kOption, {}},
      {"Cmd+Cmd+Option+Control+Shift+I", "i", kCommand | kOption | kControl | kShift, {}},
      {" \u3000Cmd\u00A0\t+K", "k", kCommand, {}},
      {"\nCmd+K", "k", {}, {"\nCMD"}},
      {"Cmd + K", " K", kCommand, {}},
      {"Cmd+ ", " ", kCommand, {}},
      {"Hyper+Cmd++K", "k", kCommand, {"HYPER", ""}},
      {"+K", "k", {}, {""}},
      {"Cmd+E\u0301", "e\u0301", kCommand, {}},
      {"Cmd+\u00C9", "\u00E9", kCommand, {}},
      {"Cmd+\U0001F1E8\U0001F1F3", "\U0001F1E8\U0001F1F3", kCommand, {}},
      {"Cmd+\u0130", "i\u0307", kCommand, {}},
      {"stra\u00DFe+K", "k", {}, {"STRASSE"}},
      {std::string("Cmd+\0K", 6), std::string("\0K", 2), kCommand, {}},
  };
  for (const auto& [text, key, modifiers, unknown] : cases) {
    SCOPED_TRACE(text);
    const auto shortcut = parseShortcut(text).value();
    EXPECT_EQ(shortcut.keyEquivalent, key);
    EXPECT_EQ(shortcut.modifiers, modifiers);
    EXPECT_EQ(shortcut.unknownModifiers, unknown);
  }
  for (const auto* text : {"Cmd+", "+", "Cmd++"}) EXPECT_FALSE(parseShortcut(text)) << text;
}

}  // namespace
}  // namespace quill::testing
