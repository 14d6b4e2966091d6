#include "menu_layout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "menus.h"

namespace quill::freedesktop {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using enum EntryProperty;

const auto kHost = std::make_shared<Host>();

std::string labelOf(const std::string& title) {
  const MenuLayout layout(menuOf({{"a", title}}, kHost), 1);
  return std::get<std::string>(*layout.entries()[1].value(label));
}

TEST(MenuLayout, ShowsTitlesLiterally) {
  EXPECT_EQ(labelOf("a_b__c"), "a__b____c");
  EXPECT_EQ(labelOf(std::string("a\0b", 3)),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(labelOf("<b>&-"), "<b>&-");
  EXPECT_EQ(labelOf(""), "");
}

TEST(MenuLayout, NamesShortcuts) {
  const auto shortcut = [](const std::string& key, ModifierFlags modifiers) {
    const MenuLayout layout(menuOf({{"a", "A", true, key, modifiers}}, kHost), 1);
    std::string joined;
    const auto value = layout.entries()[1].value(EntryProperty::shortcut);
    for (const auto& part : value ? std::get<Shortcut>(*value) : Shortcut{}) joined += "+" + part;
    return joined;
  };
  EXPECT_EQ(shortcut("k", {}), "+k");
  EXPECT_EQ(shortcut("q", kCommand), "+Control+q");
  EXPECT_EQ(shortcut("q", kControl), "+Control+q");
  EXPECT_EQ(shortcut("Delete", kControl | kOption), "+Control+Alt+Delete");
  EXPECT_EQ(shortcut("a", kCommand | kControl | kOption | kShift), "+Control+Alt+Shift+Super+a");
  EXPECT_EQ(shortcut("-", kCommand), "+Control+minus");
  EXPECT_EQ(shortcut("+", {}), "+plus");
  EXPECT_EQ(shortcut("", kCommand), "");
  EXPECT_EQ(shortcut(std::string("a\0", 2), kCommand), "");
  EXPECT_EQ(shortcut("\n", {}), "");
}

TEST(MenuLayout, DescribesWhatCanBeChosen) {
  auto menu = menuOf({{"on", "On"}, {"off", "Off", false}}, kHost);
  menu->addItem(MenuItem::make("no action", "", ""));
  menu->addItem(MenuItem::separator());
  auto parent = MenuItem::make("more", "", "");
  parent->submenu = menuOf({{"inner", "Inner"}}, kHost);
  menu->addItem(parent);
  auto checked = menuOf({{"check", "Check"}}, kHost)->items()[0];
  checked->toggleType = ToggleType::check;
  checked->on = true;
  menu->addItem(checked);
  const MenuLayout layout(menu, 5);

  const auto& entries = layout.entries();
  ASSERT_EQ(entries.size(), 8U);
  std::vector<std::size_t> ends;
  for (const auto& entry : entries) ends.push_back(entry.end);
  EXPECT_THAT(ends, ElementsAre(8, 2, 3, 4, 5, 7, 7, 8));
  EXPECT_EQ(entries[1].value(enabled), std::nullopt);
  EXPECT_EQ(entries[2].value(enabled), EntryValue(false));
  EXPECT_EQ(entries[3].value(enabled), EntryValue(false));
  EXPECT_EQ(entries[4].value(type), EntryValue(std::string("separator")));
  EXPECT_EQ(entries[4].value(label), std::nullopt);
  EXPECT_EQ(entries[5].value(childrenDisplay), EntryValue(std::string("submenu")));
  EXPECT_EQ(entries[5].value(enabled), std::nullopt);
  EXPECT_EQ(entries[7].value(toggleType), EntryValue(std::string("checkmark")));
  EXPECT_EQ(entries[7].value(toggleState), EntryValue(std::int32_t{1}));
  EXPECT_EQ(layout.idOf(1), 5);
  EXPECT_EQ(layout.indexOf(11), std::optional<std::size_t>(7));
  EXPECT_EQ(layout.indexOf(12), std::nullopt);
  EXPECT_EQ(layout.indexOf(4), std::nullopt);
}

TEST(MenuLayout, EndsMenusThatHoldThemselves) {
  const auto menu = std::make_shared<Menu>();
  for (int i = 0; i < 2; ++i) {
    auto item = MenuItem::make("again", "", "");
    item->submenu = menu;
    menu->addItem(item);
  }
  const MenuLayout layout(menu, 1);
  EXPECT_LE(layout.entries().size(), 1'000'001U);
  for (const auto& item : menu->items()) item->submenu.reset();
}

/// What showing `after` where `before` was shown tells: "layout", or the properties told and taken back.
std::string diff(const std::vector<Row>& before, const std::vector<Row>& after) {
  MenuHistory history;
  history.show(menuOf(before, kHost));
  const auto update = history.show(menuOf(after, kHost));
  std::string told = update.isNewLayout ? "layout " : "";
  for (const auto& change : update.changes) {
    told += std::to_string(change.id) + ":";
    change.updated.forEach([&](EntryProperty property) { told += "+" + std::string(nameOf(property)); });
    change.removed.forEach([&](EntryProperty property) { told += "-" + std::string(nameOf(property)); });
    told += ' ';
  }
  return told;
}

TEST(MenuHistory, TellsTheLeast) {
  const Row a{"a", "A", true, "k", kCommand};
  EXPECT_EQ(diff({a}, {a}), "");
  EXPECT_EQ(diff({a, {"b", "B"}}, {a, {"b", "C"}}), "2:+label ");
  EXPECT_EQ(diff({a}, {{"a", "A", false, "k", kCommand}}), "1:+enabled ");
  EXPECT_EQ(diff({{"a", "A", false, "k", kCommand}}, {a}), "1:+enabled ");
  EXPECT_EQ(diff({a}, {{"a", "A", true, "k", kShift}}), "1:+shortcut ");
  EXPECT_EQ(diff({a}, {{"a", "A"}}), "1:-shortcut ");
  EXPECT_EQ(diff({{"a", "A", true, "", kCommand}}, {{"a", "A", true, "\n", {}}}), "");
  EXPECT_EQ(diff({a}, {{"b", "A", true, "k", kCommand}}), "layout ");
  EXPECT_EQ(diff({a}, {a, a}), "layout ");
  EXPECT_EQ(diff({a}, {}), "layout ");
  EXPECT_EQ(diff({}, {}), "");
}

TEST(MenuHistory, KeepsTheLayoutThatAPanelMayHaveOpen) {
  MenuHistory history;
  const auto show = [&](const std::string& id) { history.show(menuOf({{id, id}}, kHost)); };
  const auto clickable = [&] {
    std::string ids;
    for (std::int32_t id = 1; id <= 6; ++id) {
      if (const auto found = history.find(id); found.item) ids += found.item->title;
    }
    return ids;
  };
  show("a");
  history.noteRead();
  show("b");
  EXPECT_EQ(clickable(), "ab");
  show("c");  // nobody read b
  EXPECT_EQ(clickable(), "ac");
  history.noteRead();
  EXPECT_EQ(clickable(), "ac");
  show("d");
  EXPECT_EQ(clickable(), "cd");
  EXPECT_EQ(history.revision(), 5U);
}

}  // namespace
}  // namespace quill::freedesktop
