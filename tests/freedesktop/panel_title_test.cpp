#include "panel_title.h"

#include <gtest/gtest.h>

#include <regex>

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

/// What GNOME's shell shows for a label.
std::string shownByGnome(const std::string& label) {
  return std::regex_replace(label, std::regex("_([^_])"), "$1", std::regex_constants::format_first_only);
}

TEST(PanelLabel, ShowsUnderscoresAsGiven) {
  for (const std::string title : {"a_b_c", "_a", "a_", "__a__b", "_", "a__", "", "字_字"}) {
    EXPECT_EQ(shownByGnome(panelLabel(title, title.size() - 1, PanelKind::gnome)), title);
    EXPECT_EQ(std::regex_replace(panelLabel(title, {}, PanelKind::other), std::regex("__"), "_"), title);
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
