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

/// One property of the only entry.
std::optional<EntryValue> valueOf(EntryProperty property, const Row& row) {
  return MenuLayout(menuOf({row}, kHost).get(), 1).entries()[1].value(property);
}

TEST(MenuLayout, ShowsTitlesLiterally) {
  const std::pair<std::string, std::string> kCases[] = {
      {"a_b__c", "a__b____c"}, {std::string("a\0b", 3), "a\uFFFDb"}, {"<b>&-", "<b>&-"}, {"", ""}};
  for (const auto& [title, expected] : kCases) EXPECT_EQ(valueOf(label, {"a", title}), EntryValue(expected));
}

TEST(MenuLayout, NamesShortcuts) {
  const auto shortcut = [](const std::string& key, ModifierFlags modifiers) {
    std::string joined;
    const auto value = valueOf(EntryProperty::shortcut, {"a", "A", true, key, modifiers});
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

TEST(MenuLayout, NumbersTheEntriesInOrder) {
  auto menu = menuOf({{"on", "On"}}, kHost);
  auto parent = MenuItem::make("more", "", "");
  parent->submenu = menuOf({{"inner", "Inner"}}, kHost);
  menu->addItem(parent);
  menu->addItem(MenuItem::make("no action", "", ""));
  const MenuLayout layout(menu.get(), 5);
  std::vector<std::size_t> ends;
  for (const auto& entry : layout.entries()) ends.push_back(entry.end);
  EXPECT_THAT(ends, ElementsAre(5, 2, 4, 4, 5));
  EXPECT_EQ(layout.entries()[2].value(childrenDisplay), EntryValue(std::string("submenu")));
  EXPECT_EQ(layout.entries()[2].value(enabled), std::nullopt);
  EXPECT_EQ(layout.entries()[4].value(enabled), EntryValue(false));
  EXPECT_EQ(layout.idOf(1), 5);
  EXPECT_EQ(layout.indexOf(8), std::optional<std::size_t>(4));
  EXPECT_EQ(layout.indexOf(9), std::nullopt);
  EXPECT_EQ(layout.indexOf(4), std::nullopt);
}

TEST(MenuLayout, EndsMenusThatHoldThemselves) {
  const auto menu = std::make_shared<Menu>();
  for (int i = 0; i < 2; ++i) {
    auto item = MenuItem::make("again", "", "");
    item->submenu = menu;
    menu->addItem(item);
  }
  const MenuLayout layout(menu.get(), 1);
  EXPECT_LE(layout.entries().size(), 1'000'001U);
  for (const auto& item : menu->items()) item->submenu.reset();
}

/// What showing `after` where `before` was shown tells: "layout", or the properties told and taken back.
std::string diff(const std::vector<Row>& before, const std::vector<Row>& after) {
  MenuHistory history;
  history.show(menuOf(before, kHost).get());
  const auto update = history.show(menuOf(after, kHost).get());
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
  const auto show = [&](const std::string& id) { history.show(menuOf({{id, id}}, kHost).get()); };
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
