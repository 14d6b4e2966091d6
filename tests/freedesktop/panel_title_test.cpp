#include "panel_title.h"

#include "testing.h"

namespace quill::freedesktop::tests {

TEST(PanelTitle, TitleOfOverSixtyColumnsLosesItsMiddle) {
  const std::pair<std::string, std::size_t> characters[] = {
      {"a", 1}, {"字", 2}, {"e\u0301", 1}, {"👨‍👩‍👧‍👦", 2}, {"🇨🇳", 2}, {std::string(1, '\0'), 1}};
  for (const auto& [character, columns] : characters) {
    const auto most = times(60 / columns, character);
    EXPECT_EQ(panelTitle(most, {}).text, most);
    EXPECT_EQ(panelTitle(most + character, {}).text,
              times(30 / columns, character) + "…" + times(29 / columns, character));
  }
  EXPECT_EQ(panelTitle("", {}).text, "");
}

TEST(PanelTitle, AccessKeyStaysAtItsLetterOrGoesWithIt) {
  const auto title = times(29, "a") + "K" + times(40, "m") + "L" + times(28, "z");
  const std::pair<std::size_t, char> keys[] = {{29, 'K'}, {30, 0}, {69, 0}, {70, 'L'}};
  for (const auto& [at, letter] : keys) {
    const auto shortened = panelTitle(title, at);
    EXPECT_EQ(shortened.mnemonic ? shortened.text[*shortened.mnemonic] : 0, letter) << at;
  }
}

TEST(PanelLabel, UnderscoresAreShownAsGiven) {
  // GNOME's shell removes the first underscore before anything else; others show each doubled one as one.
  for (const auto& [title, expected] : casesIn(CASES "labels.txt"))
    EXPECT_EQ(panelLabel(title, title.size() - 1, {.underscores = Underscores::first}) + " " +
                  panelLabel(title, {}, kUnknownPanel),
              expected);
  EXPECT_EQ(panelLabel("Save_as", 4, kUnknownPanel), "Save___as");
}

}  // namespace quill::freedesktop::tests
