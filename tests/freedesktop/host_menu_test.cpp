#include "panel_fixture.h"

namespace quill::freedesktop::tests {

using MenuPointer = ObjectPointer<GMenu>;
constexpr auto kActionGroup = "quill-tray-manager-action-group-tray";

void append(const MenuPointer& menu, const char* label, const char* action = nullptr, const char* attribute = "accel",
            const char* value = "") {
  const ObjectPointer<GMenuItem> made(g_menu_item_new(label, action));
  g_menu_item_set_attribute(made.get(), attribute, "s", value);
  g_menu_append_item(menu.get(), made.get());
}

/// What the host does whenever one of its objects is asked something, activated or gone.
std::function<void()> hostIsCalled;
void callHost(gpointer asked) {
  if (hostIsCalled && g_object_get_data(G_OBJECT(asked), "calls") != nullptr) hostIsCalled();
}

/// Has all menus and groups of actions call the host that were given to this function.
template <typename Pointer>
Pointer calling(Pointer object) {
  static auto* const menus = static_cast<GMenuModelClass*>(g_type_class_ref(G_TYPE_MENU));
  static auto* const groups = static_cast<GActionGroupInterface*>(
      g_type_interface_peek(g_type_class_ref(G_TYPE_SIMPLE_ACTION_GROUP), G_TYPE_ACTION_GROUP));
  static const GMenuModelClass menu = *menus;
  static const GActionGroupInterface group = *groups;
  menus->get_n_items = [](GMenuModel* self) { return callHost(self), menu.get_n_items(self); };
  menus->get_item_attributes = [](GMenuModel* self, int index, GHashTable** attributes) {
    menu.get_item_attributes(self, index, attributes), callHost(self);
  };
  menus->get_item_links = [](GMenuModel* self, int index, GHashTable** links) {
    menu.get_item_links(self, index, links), callHost(self);
  };
  groups->query_action = [](GActionGroup* self, auto... out) {
    return callHost(self), group.query_action(self, out...);
  };
  groups->activate_action = [](GActionGroup* self, const char* name, GVariant* target) {
    callHost(self), group.activate_action(self, name, target);
  };
  g_object_set_data_full(G_OBJECT(object.get()), "calls", object.get(), [](gpointer) {
    if (hostIsCalled) hostIsCalled();
  });
  return object;
}

class HostMenuTest : public PanelTest {
 protected:
  HostMenuTest() {
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
    addAction(actions.get(), "do_it"), addAction(actions.get(), "checked", nullptr, "true");
    addAction(actions.get(), "choice", "s", "'one'"), addAction(actions.get(), "structure", "(sad)");
    nameActions(model, actions);
  }
  ~HostMenuTest() override { hostIsCalled = nullptr; }

  GSimpleAction* action(const char* name) {
    return G_SIMPLE_ACTION(g_action_map_lookup_action(G_ACTION_MAP(actions.get()), name));
  }
  static void nameActions(const MenuPointer& menu, const ObjectPointer<GSimpleActionGroup>& group) {
    g_object_set_data_full(G_OBJECT(menu.get()), kActionGroup, g_object_ref(group.get()), g_object_unref);
  }
  /// A model of two items and the actions that they name, all of which call the host.
  static MenuPointer callingModel() {
    const auto group = calling(ObjectPointer<GSimpleActionGroup>(g_simple_action_group_new()));
    addAction(group.get(), "do_it");
    auto made = calling(MenuPointer(g_menu_new()));
    const auto sub = calling(MenuPointer(g_menu_new()));
    append(sub, "Inner", "tray.do_it");
    append(made, "Plain", "tray.do_it");
    g_menu_append_submenu(made.get(), "Sub", G_MENU_MODEL(sub.get()));
    nameActions(made, group);
    return made;
  }
  void show(const MenuPointer& menu) { manager->setMenu(desktop.adoptMenu(menu.get())); }
  void showModel() {
    showInPanel();
    show(model);
    EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated(uint32 3, 0)"));
  }

  MenuPointer model{g_menu_new()};
  MenuPointer inner{g_menu_new()};
  ObjectPointer<GSimpleActionGroup> actions{g_simple_action_group_new()};
};

TEST_F(HostMenuTest, ShowsAndActivatesWhatTheModelHoldsUntilReplaced) {
  addAction(application.get(), "quit");
  g_application_set_default(application.get());

  const MenuPointer hollow(g_menu_new()), nested(g_menu_new()), choices(g_menu_new());
  g_menu_append_section(hollow.get(), nullptr, G_MENU_MODEL(MenuPointer(g_menu_new()).get()));
  append(inner, "In_ner", "tray.do_it");
  g_menu_append_section(nested.get(), nullptr, G_MENU_MODEL(inner.get()));
  append(nested, "After", "tray.do_it");
  for (const char* name : {"tray.choice::one", "tray.choice::a 'b' (c)", "tray.choice"}) append(choices, "C", name);
  g_menu_append_section(model.get(), nullptr, G_MENU_MODEL(hollow.get()));
  append(model, "_File", "tray.do_it", "accel", "<Primary><Shift>k");
  append(model, "a__b_ö_x_", "tray.do_it", "icon", "document-open");
  g_menu_append_section(model.get(), nullptr, G_MENU_MODEL(nested.get()));
  g_menu_append_submenu(model.get(), "_Sub", G_MENU_MODEL(choices.get()));
  append(model, "Hidden", "tray.missing", "hidden-when", "action-missing");
  for (const char* name : {"do_it", "app.quit", "tray.checked", "tray.structure(('\\n', [0.1, inf]))",
                           "tray.structure::5", "tray.do_it::x", "other.do_it"})
    append(model, "N", name);
  g_menu_append_section(model.get(), nullptr, G_MENU_MODEL(hollow.get()));
  showModel();
  expectReplies("host_menu_calls.txt");
  registerApplication();  // from now on it has actions
  EXPECT_THAT(panel->takeSignals(), ElementsAre("ItemsPropertiesUpdated([(15, {'enabled': <true>})], @a(ias) [])"));

  auto* watched = model.get();
  g_object_add_weak_pointer(G_OBJECT(watched), reinterpret_cast<gpointer*>(&watched));
  model.reset();
  EXPECT_THAT(chooseAll(), ElementsAre("do_it", "do_it", "do_it", "do_it", "choice 'one'", "choice \"a 'b' (c)\"",
                                       "quit", "checked", "structure ('\\n', [0.10000000000000001, inf])"));
  manager->setMenuItems({});
  EXPECT_EQ(watched, nullptr);
  EXPECT_EQ(G_OBJECT(actions.get())->ref_count, 1U);
  EXPECT_THAT(chooseAll(), IsEmpty()) << "of what the panel may still have open";
}

TEST_F(HostMenuTest, IgnoresAnAttributeOfAnotherTypeAndReplacesIllFormedText) {
  auto* const menus = static_cast<GMenuModelClass*>(g_type_class_ref(G_TYPE_MENU));
  menus->get_item_attribute_value = [](GMenuModel*, int, const char* attribute, const GVariantType*) {
    const bool isLabel = std::string_view(attribute) == G_MENU_ATTRIBUTE_LABEL;
    return g_variant_ref_sink(isLabel
                                  ? g_variant_new_from_data(G_VARIANT_TYPE_STRING, "a\xFF", 3, TRUE, nullptr, nullptr)
                                  : g_variant_new_int32(5));
  };
  append(model, "");
  showModel();
  EXPECT_THAT(panel->menu(), HasSubstr("'label': <'a\uFFFD'>"));
}

TEST_F(HostMenuTest, SignalsWhatChangesInTheSameTurn) {
  const auto usual = holdObject(action("do_it"));
  append(model, "Plain", "tray.do_it");
  append(model, "Checked", "tray.checked");
  append(inner, "Inner", "tray.do_it");
  g_menu_append_section(model.get(), nullptr, G_MENU_MODEL(inner.get()));
  showModel();
  const auto expectUpdate = [&](const std::string& what) {
    EXPECT_THAT(panel->takeSignals(), ElementsAre("ItemsPropertiesUpdated(" + what + ", @a(ias) [])"));
  };
  g_simple_action_set_enabled(usual.get(), FALSE);
  expectUpdate("[(3, {'enabled': <false>}), (6, {'enabled': <false>})]");
  for (int i = 0; i < 2; ++i) g_simple_action_set_state(action("checked"), g_variant_new_boolean(FALSE));
  expectUpdate("[(4, {'toggle-state': <0>})]");
  g_menu_remove(model.get(), 1);  // a label is changed by replacing the item
  g_menu_insert(model.get(), 1, "Renamed", "tray.checked");
  expectUpdate("[(4, {'label': <'Renamed'>})]");
  g_action_map_remove_action(G_ACTION_MAP(actions.get()), "do_it");
  EXPECT_THAT(panel->takeSignals(), IsEmpty());  // grey before
  g_simple_action_set_enabled(usual.get(), TRUE);
  g_action_map_add_action(G_ACTION_MAP(actions.get()), G_ACTION(usual.get()));
  expectUpdate("[(3, {'enabled': <true>}), (6, {'enabled': <true>})]");
  append(inner, "More", "tray.do_it");
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated(uint32 4, 0)"));
  for (int i = 0; i < 10'000; ++i) append(model, "Many", "tray.do_it");
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated(uint32 5, 0)"));
  g_menu_append_submenu(inner.get(), "_Sub", G_MENU_MODEL(model.get()));
  g_menu_append_section(model.get(), nullptr, G_MENU_MODEL(model.get()));  // which now holds itself in two ways
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated(uint32 6, 0)"));
  g_menu_remove_all(model.get());
}

TEST_F(HostMenuTest, MayBeCalledBackByWhateverItAsks) {
  const auto icon = image(1);
  std::vector<std::function<void()>> calls = {
      [&] { manager->createTray(); },
      [&] { show(model); },
      [&] { manager->setMenuItems({}); },
      [&] { manager->setMainIcon(icon); },
      [&] { manager->addAnimationFrame(icon), manager->startAnimation(); },
      [&] { manager->resetAnimation(); },
      [&] { g_main_context_iteration(nullptr, FALSE); },
      [&] { g_object_run_dispose(static_cast<GObject*>(g_object_get_data(G_OBJECT(model.get()), kActionGroup))); }};
  calls.emplace_back([all = calls] {
    for (const auto& call : all) call();
  });
  append(inner, "Other");
  for (const bool hasBus : {true, false}) {
    hasBus ? showInPanel() : static_cast<void>(unsetenv("DBUS_SESSION_BUS_ADDRESS"));
    manager->setMenuItems({});
    for (std::size_t i = 0; i < calls.size(); ++i) {
      model = callingModel();
      show(model);
      const auto entry = manager->menu->items().front();
      hostIsCalled = calls[i];
      entry->choose();
      show(model);
      for (int turn = 0; turn < 3; ++turn) g_main_context_iteration(nullptr, FALSE);
      hostIsCalled = nullptr;
      show(model);
      hostIsCalled = [&] { show(inner), manager->createTray(); };
      model = MenuPointer(g_menu_new());
      show(model);  // so that the other model ends, which shows another menu in another item
      hostIsCalled = nullptr;
      EXPECT_EQ(manager->menu->items().size(), 1U) << i;
      const auto isSeen = [&](const char* label) {
        return !hasBus || runUntil([&] { return panel->menu().find(label) != std::string::npos; });
      };
      EXPECT_TRUE(isSeen("Other"));
      append(inner, "Late");
      EXPECT_TRUE(isSeen("Late")) << i;
      g_menu_remove(inner.get(), 1);
    }
  }
}

TEST_F(HostMenuTest, IsReadWholeFromInsideARead) {
  model = callingModel();
  showInPanel();
  manager->setMenuItems({});
  std::vector<std::size_t> inside;
  hostIsCalled = [&, depth = 0]() mutable {
    if (++depth < 3) inside.push_back(manager->menu->items().size());
    --depth;
  };
  show(model);
  EXPECT_THAT(inside, AllOf(Not(IsEmpty()), Each(2U)));
  EXPECT_EQ(manager->menu->items().size(), 2U);
  bool isFirst = true;
  hostIsCalled = [&] {
    if (!std::exchange(isFirst, false)) return;
    g_menu_remove_all(model.get());
    append(model, "Late");
    EXPECT_EQ(manager->menu->items().size(), 1U);
  };
  append(model, "More");
  EXPECT_EQ(manager->menu->items().size(), 1U) << "the later read holds";
  panel->takeSignals();
  EXPECT_THAT(panel->menu(), HasSubstr("Late"));
}

}  // namespace quill::freedesktop::tests
