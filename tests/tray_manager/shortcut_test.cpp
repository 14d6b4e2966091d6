#include "shortcut.h"

#include <gtest/gtest.h>

#include <clocale>

namespace quill::testing {
namespace {

struct Case {
  std::string text;
  std::string key;
  ModifierFlags modifiers;
  std::vector<std::string> unknown{};
};

TEST(Shortcut, ReadsModifiersAndKey) {
  const Case cases[] = {
      {"K", "k", {}},
      {"Cmd+K", "k", kCommand},
      {"cmd+shift+k", "k", kCommand | kShift},
      {"Shift+Command+K", "k", kCommand | kShift},
      {"Ctrl+Alt+Delete", "Delete", kControl | kOption},
      {"Cmd+F1", "F1", kCommand},
      {" Cmd\t+K", "k", kCommand},
      {"\u3000Cmd\u00A0+K", "k", kCommand},
      {"\nCmd+K", "k", {}, {"\nCMD"}},
      {"Cmd + K", " K", kCommand},
      {"Cmd+ ", " ", kCommand},
      {"Hyper+Cmd+K", "k", kCommand, {"HYPER"}},
      {"+K", "k", {}, {""}},
      {"Cmd++K", "k", kCommand, {""}},
      {"Cmd+Cmd+K", "k", kCommand},
      {"Command+Option+Control+Shift+A", "a", kCommand | kOption | kControl | kShift},
      {"Cmd+E\u0301", "e\u0301", kCommand},
      {"Cmd+\u00C9", "\u00E9", kCommand},
      {"Cmd+\U0001F1E8\U0001F1F3", "\U0001F1E8\U0001F1F3", kCommand},
      {"Cmd+\U0001F468\u200D\U0001F469\u200D\U0001F467", "\U0001F468\u200D\U0001F469\u200D\U0001F467", kCommand},
      {"Cmd+\u0130", "i\u0307", kCommand},
      {"Cmd+I", "i", kCommand},
      {"stra\u00DFe+K", "k", {}, {"STRASSE"}},
      {std::string("Cmd+\0K", 6), std::string("\0K", 2), kCommand},
  };
  for (const auto* locale : {"C", "tr_TR.UTF-8"}) {
    std::setlocale(LC_ALL, locale);  // where the machine lacks the locale the second round repeats the first
    for (const auto& expected : cases) {
      SCOPED_TRACE(expected.text);
      const auto shortcut = parseShortcut(expected.text);
      ASSERT_TRUE(shortcut);
      EXPECT_EQ(shortcut->keyEquivalent, expected.key);
      EXPECT_EQ(shortcut->modifiers, expected.modifiers);
      EXPECT_EQ(shortcut->unknownModifiers, expected.unknown);
    }
  }
  std::setlocale(LC_ALL, "C");
  for (const auto* text : {"Cmd+", "+", "Cmd++"}) EXPECT_FALSE(parseShortcut(text)) << text;
}

}  // namespace
}  // namespace quill::testing
