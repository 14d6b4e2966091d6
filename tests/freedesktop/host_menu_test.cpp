#include "host_menu.h"

#include "menu_layout.h"
#include "panel_fixture.h"

namespace quill::freedesktop {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct ModelItem {
  const char* label = nullptr;
  const char* action = nullptr;  ///< with its target
  std::vector<std::pair<const char*, const char*>> attributes{};
  const char* link = nullptr;
  GMenu* linked = nullptr;
};

void append(GMenu* menu, const ModelItem& row) {
  const ObjectPointer<GMenuItem> made(g_menu_item_new(row.label, row.action));
  for (const auto& [name, value] : row.attributes) g_menu_item_set_attribute(made.get(), name, "s", value);
  if (row.linked != nullptr) g_menu_item_set_link(made.get(), row.link, G_MENU_MODEL(row.linked));
  g_menu_append_item(menu, made.get());
}

ObjectPointer<GMenu> menuModel(std::initializer_list<ModelItem> rows) {
  ObjectPointer<GMenu> menu(g_menu_new());
  for (const auto& row : rows) append(menu.get(), row);
  return menu;
}

ModelItem section(const ObjectPointer<GMenu>& items) {
  return {nullptr, nullptr, {}, G_MENU_LINK_SECTION, items.get()};
}
ModelItem submenu(const char* label, const ObjectPointer<GMenu>& items) {
  return {label, nullptr, {}, G_MENU_LINK_SUBMENU, items.get()};
}

/// The menu as panels are told of it, an entry a line: ">" for each level, label, key, icon, state; "off" is grey.
std::string shown(const Menu& menu) {
  std::string text;
  const MenuLayout layout(&menu, 1);
  for (const auto& entry : layout.entries()) {
    if (entry.depth == 0) continue;
    const auto property = [&](EntryProperty name) { return entry.value(name).value_or(std::string()); };
    text.append(static_cast<std::size_t>(entry.depth - 1), '>');
    text += entry.isSeparator ? "---" : std::get<std::string>(property(EntryProperty::label));
    if (const auto keys = entry.value(EntryProperty::shortcut)) {
      for (const auto& key : std::get<Shortcut>(*keys)) text += "+" + key;
    }
    for (const auto name : {EntryProperty::iconName, EntryProperty::toggleType}) {
      if (const auto value = std::get<std::string>(property(name)); !value.empty()) text += " " + value;
    }
    if (entry.on) text += "=1";
    text += entry.isChoosable ? "\n" : " off\n";
  }
  return text;
}

class HostMenuTest : public PanelTest {
 protected:
  HostMenuTest() { g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING)); }

  GSimpleAction* add(const char* name, const char* parameter = nullptr, const char* state = nullptr) {
    const auto* const type = parameter != nullptr ? G_VARIANT_TYPE(parameter) : nullptr;
    const ObjectPointer<GSimpleAction> action(
        state == nullptr ? g_simple_action_new(name, type)
                         : g_simple_action_new_stateful(name, type, g_variant_new_parsed(state)));
    g_action_map_add_action(G_ACTION_MAP(actions.get()), G_ACTION(action.get()));
    g_signal_connect(action.get(), "activate", G_CALLBACK(&HostMenuTest::note), this);
    return action.get();
  }
  static void note(GSimpleAction* action, GVariant* target, HostMenuTest* test) {
    const GCharPointer text(target != nullptr ? g_variant_print(target, TRUE) : g_strdup(""));
    test->activated.push_back(g_action_get_name(G_ACTION(action)) + std::string(" ") + text.get());
  }
  std::shared_ptr<HostMenu> adopt(const ObjectPointer<GMenu>& menu) {
    g_object_set_data_full(G_OBJECT(menu.get()), "quill-tray-manager-action-group-tray", g_object_ref(actions.get()),
                           g_object_unref);
    return HostMenu::adopt(menu.get());
  }
  template <typename Sender>
  static bool isFollowed(const ObjectPointer<Sender>& sender, const char* signal) {
    return g_signal_has_handler_pending(sender.get(), g_signal_lookup(signal, G_OBJECT_TYPE(sender.get())), 0, TRUE);
  }

  ObjectPointer<GSimpleActionGroup> actions{g_simple_action_group_new()};
  std::vector<std::string> activated;
};

TEST_F(HostMenuTest, ShowsTheModelAsPanelsCanReadIt) {
  add("plain");
  add("with_underscore");
  g_simple_action_set_enabled(add("disabled"), FALSE);
  add("checked", nullptr, "true");
  add("unchecked", nullptr, "false");
  add("counter", nullptr, "7");
  add("choice", "s", "'one'");
  add("number", "i");
  const ObjectPointer<GApplication> application(g_application_new("org.example.Host", G_APPLICATION_NON_UNIQUE));
  const ObjectPointer<GSimpleAction> quit(g_simple_action_new("quit", nullptr));
  g_action_map_add_action(G_ACTION_MAP(application.get()), G_ACTION(quit.get()));
  g_application_set_default(application.get());

  const auto empty = menuModel({});
  const auto hollow = menuModel({section(empty), section(empty)});
  const auto inner = menuModel({{"In_ner", "tray.plain"}});
  const auto nested = menuModel({section(hollow), section(inner), {"After", "tray.plain"}});
  const auto choices = menuModel({{"One", "tray.choice::one"}, {"Two", "tray.choice::two"}, {"No", "tray.choice"}});
  const auto menu = menuModel({section(hollow),
                               {"_File", "tray.plain", {{"accel", "<Primary><Shift>k"}, {"icon", "document-open"}}},
                               {"a__b_ö_x_", "tray.with_underscore", {{"accel", "<Super>k"}}},
                               section(nested),
                               section(hollow),
                               {"Disabled", "tray.disabled", {{"accel", "<Alt>F4"}}},
                               submenu("_Choices", choices),
                               {"Checked", "tray.checked"},
                               {"Unchecked", "tray.unchecked"},
                               {"Counter", "tray.counter"},
                               {"Number", "tray.number(5)"},
                               {"Text for a number", "tray.number::5"},
                               {"Target for none", "tray.plain::x"},
                               {"Missing", "tray.missing"},
                               {"Hidden", "tray.missing", {{"hidden-when", "action-missing"}}},
                               {"Hidden, too", "tray.disabled", {{"hidden-when", "action-disabled"}}},
                               {"Other group", "other.plain"},
                               {"No prefix", "plain"},
                               {"No action"},
                               {"Quit", "app.quit", {{"accel", "q"}}},
                               section(hollow)});
  const auto adopted = adopt(menu);
  const std::string before =
      "_File+Control+Shift+k document-open\na__b_öx__\n---\nIn_ner\n---\nAfter\n---\nDisabled+Alt+F4 off\n"
      "_Choices\n>One radio=1\n>Two radio\n>No off\nChecked checkmark=1\nUnchecked checkmark\nCounter\nNumber\n"
      "Text for a number off\nTarget for none off\nMissing off\nOther group off\nNo prefix off\nNo action off\n";
  EXPECT_EQ(shown(*adopted), before + "Quit+q off\n");
  g_application_register(application.get(), nullptr, nullptr);  // from now on it has actions
  EXPECT_EQ(shown(*adopted), before + "Quit+q\n");
  EXPECT_EQ(adopted->items().size(), 20U) << "what the log counts: on top, with separators";
}

TEST_F(HostMenuTest, SignalsWhatChangesInTheSameTurn) {
  auto* const plain = add("plain");
  auto* const checked = add("checked", nullptr, "true");
  const auto inner = menuModel({{"Inner", "tray.plain"}});
  const auto menu = menuModel({{"Plain", "tray.plain"}, {"Checked", "tray.checked"}, section(inner)});
  showInPanel();
  item->announceMenu(adopt(menu));
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated"));
  const auto ids = readMenu();
  const auto expectProperties = [&] {
    EXPECT_THAT(panel->takeSignals(), ElementsAre("ItemsPropertiesUpdated"));
    EXPECT_EQ(readMenu(), ids);
  };
  g_simple_action_set_enabled(plain, FALSE);
  expectProperties();
  g_simple_action_set_state(checked, g_variant_new_boolean(FALSE));
  g_simple_action_set_state(checked, g_variant_new_boolean(FALSE));
  expectProperties();
  g_menu_remove(menu.get(), 0);  // a label is changed by replacing the item
  const ObjectPointer<GMenuItem> renamed(g_menu_item_new("Renamed", "tray.plain"));
  g_menu_insert_item(menu.get(), 0, renamed.get());
  expectProperties();
  g_action_map_remove_action(G_ACTION_MAP(actions.get()), "checked");
  expectProperties();
  add("checked", nullptr, "true");
  expectProperties();
  add("unrelated");
  EXPECT_THAT(panel->takeSignals(), IsEmpty());
  append(inner.get(), {"More", "tray.plain"});
  g_simple_action_set_enabled(plain, TRUE);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated"));
  for (int i = 0; i < 10'000; ++i) append(menu.get(), {"Many", "tray.plain"});
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated"));
  EXPECT_EQ(readMenu().size(), 10'000U + 6U);
}

TEST_F(HostMenuTest, ChoosingActivatesTheActionWithItsTarget) {
  add("with_underscore");
  auto* const choice = add("choice", "s", "'one'");
  add("structure", "(sad)");
  const auto menu = menuModel(
      {{"", "tray.with_underscore"}, {"", "tray.choice::a 'b' (c)"}, {"", "tray.structure(('\\n', [0.1, inf]))"}});
  showInPanel();
  item->announceMenu(adopt(menu));
  panel->takeSignals();
  const auto ids = readMenu();
  for (const auto id : ids) choose(id);
  ASSERT_TRUE(runUntil([&] { return activated.size() >= 3; }));
  EXPECT_THAT(activated,
              ElementsAre("with_underscore ", "choice \"a 'b' (c)\"", "structure ('\\n', [0.10000000000000001, inf])"));
  g_simple_action_set_enabled(choice, FALSE);
  choose(ids[1]);  // the panel does not know yet
  panel->takeSignals();
  EXPECT_EQ(activated.size(), 3U);
  EXPECT_THAT(host->told, IsEmpty());
}

TEST_F(HostMenuTest, LetsGoOfModelAndHandlersWhenReplaced) {
  add("plain");
  const auto inner = menuModel({{"Inner", "tray.plain"}});
  auto menu = menuModel({{"Plain", "tray.plain"}, submenu("Sub", inner)});
  bool isGone = false;
  g_object_weak_ref(
      G_OBJECT(menu.get()), [](gpointer gone, GObject*) { *static_cast<bool*>(gone) = true; }, &isGone);
  showInPanel();
  item->announceMenu(adopt(menu));
  menu.reset();
  panel->takeSignals();
  const auto ids = readMenu();
  EXPECT_FALSE(isGone);
  EXPECT_TRUE(isFollowed(inner, "items-changed"));
  EXPECT_TRUE(isFollowed(actions, "action-state-changed"));
  show({{"a", "A"}});
  EXPECT_TRUE(isGone);
  EXPECT_FALSE(isFollowed(inner, "items-changed"));
  for (const auto* signal : {"action-added", "action-removed", "action-enabled-changed", "action-state-changed"}) {
    EXPECT_FALSE(isFollowed(actions, signal)) << signal;
  }
  choose(ids[0]);  // which the panel may still have open
  choose(ids[1]);
  panel->takeSignals();
  EXPECT_THAT(activated, IsEmpty());
}

TEST_F(HostMenuTest, RefusesWhatIsNoModelAndEndsThoseThatHoldEachOther) {
  EXPECT_EQ(HostMenu::adopt(nullptr), nullptr);
  EXPECT_EQ(HostMenu::adopt(actions.get()), nullptr);
  const auto one = menuModel({{"One"}});
  const auto other = menuModel({submenu("a", one), submenu("b", one), section(one)});
  for (int i = 0; i < 2; ++i) append(one.get(), submenu("Other", other));
  append(one.get(), section(one));
  EXPECT_LE(MenuLayout(adopt(one).get(), 1).entries().size(), 100'001U);
  g_menu_remove_all(one.get());
}

}  // namespace
}  // namespace quill::freedesktop
