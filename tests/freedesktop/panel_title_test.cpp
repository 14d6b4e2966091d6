#include "panel_title.h"

#include <gtest/gtest.h>

namespace quill::freedesktop {
namespace {

std::string times(int count, std::string_view text) {
  std::string repeated;
  for (int i = 0; i < count; ++i) repeated += text;
  return repeated;
}

TEST(PanelTitle, LosesItsMiddleBeyondSixtyColumns) {
  const std::string family = "👨‍👩‍👧‍👦";
  const std::string accented = "e\u0301";
  const std::tuple<std::string, std::string> cases[] = {
      {"", ""},
      {times(60, "a"), times(60, "a")},
      {times(30, "字"), times(30, "字")},
      {times(60, accented), times(60, accented)},
      {times(30, family), times(30, family)},
      {times(40, "a") + times(40, "z"), times(30, "a") + "…" + times(29, "z")},
      {times(144, "字"), times(15, "字") + "…" + times(14, "字")},
      {times(61, accented), times(30, accented) + "…" + times(29, accented)},
      {times(31, family), times(15, family) + "…" + times(14, family)},
      {times(31, "🇨🇳"), times(15, "🇨🇳") + "…" + times(14, "🇨🇳")},
      {times(61, std::string_view("\0", 1)),
       times(30, std::string_view("\0", 1)) + "…" + times(29, std::string_view("\0", 1))},
  };
  for (const auto& [title, expected] : cases) EXPECT_EQ(panelTitle(title, {}).text, expected) << title;
}

/// What GNOME's shell shows for a label: the first underscore before anything else is gone; what others show: each
/// second one.
std::string shown(std::string label, bool byGnome) {
  for (std::size_t i = 0; i + 1 < label.size(); ++i) {
    if (label[i] != '_' || (label[i + 1] == '_') == byGnome) continue;
    label.erase(i, 1);
    if (byGnome) break;
  }
  return label;
}

TEST(PanelLabel, ShowsUnderscoresAsGiven) {
  for (const std::string title : {"a_b_c", "_a", "a_", "__a__b", "_", "a__", "", "字_字"}) {
    EXPECT_EQ(shown(panelLabel(title, title.size() - 1, PanelKind::gnome), true), title);
    EXPECT_EQ(shown(panelLabel(title, {}, PanelKind::other), false), title);
  }
  EXPECT_EQ(panelLabel("Save_as", 4, PanelKind::plasma), "Save___as");
  EXPECT_EQ(panelLabel(std::string_view("a\0b", 3), {}, PanelKind::gnome), "a\uFFFDb");
}

TEST(PanelTitle, AccessKeyStaysAtItsLetterOrGoesWithIt) {
  const auto title = times(29, "a") + "K" + times(40, "m") + "L" + times(28, "z");
  const std::pair<std::size_t, char> cases[] = {{29, 'K'}, {30, 0}, {69, 0}, {70, 'L'}};
  for (const auto& [at, letter] : cases) {
    const auto shortened = panelTitle(title, at);
    EXPECT_EQ(shortened.mnemonic ? shortened.text[*shortened.mnemonic] : 0, letter) << at;
  }
  EXPECT_EQ(panelTitle("Open", 2).mnemonic, 2U);
}

}  // namespace
}  // namespace quill::freedesktop
