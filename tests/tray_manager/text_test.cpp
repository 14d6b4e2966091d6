// Text as each platform's own library reads it.

#include "text.h"

#include "shortcut.h"
#include "testing.h"

namespace quill::tests {

TEST(Utf8Text, ReplacesWhatIsIllFormed) {
  EXPECT_EQ(utf8Text("中\x80z \xED\xA0\x80| \xC0\xAF \xF0\x9F\x98\x80\xFF \xE4\xB8"),
            "中\uFFFDz \uFFFD\uFFFD\uFFFD| \uFFFD\uFFFD 😀\uFFFD \uFFFD");
}

TEST(Shortcut, ReadsModifiersAndKey) {
  // "[key] sum of shift 1, control 2, option 4 and command 8 <unknown>…"
  const auto read = [](const std::string& text) -> std::string {
    const auto shortcut = parseShortcut(text);
    if (!shortcut) return "refused";
    auto all = "[" + shortcut->keyEquivalent + "] " + std::to_string(shortcut->modifiers.rawValue >> 17U);
    for (const auto& word : shortcut->unknownModifiers) all += " <" + word + ">";
    return all;
  };
  for (const auto& [text, expected] : casesIn(CASES "../tray_manager/shortcuts.txt")) {
#ifdef ONE_TO_ONE_CASE_MAPPING
    if (text == "Cmd+\u0130" || text == "stra\u00DFe+K") continue;
#endif
    EXPECT_EQ(read(text), expected) << text;
  }
  EXPECT_EQ(read("\nCmd+K"), "[k] 0 <\nCMD>");
  EXPECT_EQ(read({"Cmd+\0K", 6}), std::string("[\0K] 8", 6));
}

}  // namespace quill::tests
