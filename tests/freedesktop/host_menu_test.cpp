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

/// What the host does each time the library queries or activates an action, and when an action group ends.
std::function<void()> hostIsCalled = [] {};

class HostMenuTest : public PanelTest {
 protected:
  HostMenuTest() {
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
    auto* const groups = static_cast<GActionGroupInterface*>(
        g_type_interface_peek(g_type_class_ref(G_TYPE_SIMPLE_ACTION_GROUP), G_TYPE_ACTION_GROUP));
    static const auto query = groups->query_action;
    groups->query_action = [](GActionGroup* self, auto... out) {
      hostIsCalled();
      return query(self, out...);
    };
    makeModel();
  }

  void makeModel() {
    actions.reset(g_simple_action_group_new());
    addAction(actions.get(), "do_it");
    addAction(actions.get(), "checked", nullptr, "true");
    addAction(actions.get(), "choice", "s", "'one'");
    addAction(actions.get(), "structure", "(sad)");
    model.reset(g_menu_new());
    g_object_set_data_full(G_OBJECT(model.get()), kActionGroup, g_object_ref(actions.get()), g_object_unref);
  }
  GSimpleAction* action(const char* name) {
    return G_SIMPLE_ACTION(g_action_map_lookup_action(G_ACTION_MAP(actions.get()), name));
  }
  void show(const MenuPointer& menu) { manager->setMenu(desktop.adoptMenu(menu.get())); }
  void showModel() {
    showInPanel();
    show(model);
    EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated(uint32 3, 0)"));
  }

  MenuPointer model;
  MenuPointer inner{g_menu_new()};
  ObjectPointer<GSimpleActionGroup> actions;
};

TEST_F(HostMenuTest, ModelIsShownAndItsActionsActivatedUntilReplaced) {
  addAction(application.get(), "quit");
  g_application_set_default(application.get());

  const MenuPointer empty(g_menu_new()), nested(g_menu_new()), choices(g_menu_new());
  append(inner, "In_ner", "tray.do_it");
  g_menu_append_section(nested.get(), nullptr, G_MENU_MODEL(inner.get()));
  append(nested, "After", "tray.do_it");
  for (const char* name : {"tray.choice::one", "tray.choice::a 'b' (c)", "tray.choice"}) append(choices, "C", name);
  g_menu_append_section(model.get(), nullptr, G_MENU_MODEL(empty.get()));
  append(model, "_File", "tray.do_it", "accel", "<Primary><Shift>k");
  append(model, "a__b_ö_x_", "tray.do_it", "icon", "document-open");
  g_menu_append_section(model.get(), nullptr, G_MENU_MODEL(nested.get()));
  g_menu_append_submenu(model.get(), "_Sub", G_MENU_MODEL(choices.get()));
  append(model, "Hidden", "tray.missing", "hidden-when", "action-missing");
  for (const char* name : {"do_it", "app.quit", "tray.checked", "tray.structure(('\\n', [0.1, inf]))",
                           "tray.structure::5", "tray.do_it::x", "other.do_it"})
    append(model, "N", name);
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
  EXPECT_THAT(chooseAll(), IsEmpty()) << "of what the panel may still have open";
}

TEST_F(HostMenuTest, AttributeOfAnotherTypeIsIgnored) {
  auto* const menus = static_cast<GMenuModelClass*>(g_type_class_ref(G_TYPE_MENU));
  menus->get_item_attribute_value = [](GMenuModel*, int, const char* attribute, const GVariantType*) {
    if (std::string_view(attribute) != G_MENU_ATTRIBUTE_LABEL) return g_variant_ref_sink(g_variant_new_int32(5));
    return g_variant_ref_sink(g_variant_new_from_data(G_VARIANT_TYPE_STRING, "a\xFF", 3, TRUE, nullptr, nullptr));
  };
  append(model, "");
  showModel();
  EXPECT_THAT(panel->menu(), HasSubstr("'label': <'a\uFFFD'>"));
}

TEST_F(HostMenuTest, ChangesInOneTurnAreSignalledOnce) {
  const auto usual = holdObject(action("do_it"));
  append(model, "Plain", "tray.do_it");
  append(model, "Checked", "tray.checked");
  append(inner, "Inner", "tray.do_it");
  g_menu_append_section(model.get(), nullptr, G_MENU_MODEL(inner.get()));
  showModel();
  const auto expectUpdate = [&](const std::string& what) {
    EXPECT_THAT(panel->takeSignals(), ElementsAre("ItemsPropertiesUpdated(" + what + ", @a(ias) [])"));
  };
  g_action_map_remove_action(G_ACTION_MAP(actions.get()), "do_it");
  expectUpdate("[(3, {'enabled': <false>}), (6, {'enabled': <false>})]");
  g_action_map_add_action(G_ACTION_MAP(actions.get()), G_ACTION(usual.get()));
  expectUpdate("[(3, {'enabled': <true>}), (6, {'enabled': <true>})]");
  g_simple_action_set_enabled(usual.get(), FALSE);
  expectUpdate("[(3, {'enabled': <false>}), (6, {'enabled': <false>})]");
  for (int i = 0; i < 2; ++i) g_simple_action_set_state(action("checked"), g_variant_new_boolean(FALSE));
  expectUpdate("[(4, {'toggle-state': <0>})]");
  g_menu_remove(model.get(), 1);  // a label is changed by replacing the item
  g_menu_insert(model.get(), 1, "Renamed", "tray.checked");
  expectUpdate("[(4, {'label': <'Renamed'>})]");
  for (int i = 0; i < 2; ++i) append(inner, "More", "tray.do_it");
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated(uint32 4, 0)"));
  g_menu_append_submenu(inner.get(), "_Sub", G_MENU_MODEL(model.get()));
  g_menu_append_section(model.get(), nullptr, G_MENU_MODEL(model.get()));  // which now holds itself in two ways
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated(uint32 5, 0)"));
  g_menu_remove_all(model.get());
}

TEST_F(HostMenuTest, HostMayCallBackWhileItIsQueriedOrActivated) {
  const std::function<void()> calls[] = {[&] { manager->createTray(); },
                                         [&] { show(model); },
                                         [&] { show(inner); },
                                         [&] { manager->setMenuItems({}); },
                                         [&] { makeModel(); },
                                         [&] { g_menu_remove_all(model.get()); },
                                         [&] { g_object_run_dispose(G_OBJECT(actions.get())); },
                                         [&] { g_main_context_iteration(nullptr, FALSE); }};
  append(inner, "Other");
  showInPanel();
  for (const auto& call : calls) {
    makeModel();
    g_signal_connect(action("do_it"), "activate", G_CALLBACK(+[](gpointer) { hostIsCalled(); }), nullptr);
    g_object_weak_ref(
        G_OBJECT(actions.get()), [](gpointer, GObject*) { hostIsCalled(); }, nullptr);
    for (const char* label : {"First", "Second"}) append(model, label, "tray.do_it");
    show(model);
    const auto entry = manager->menu->items().front();
    hostIsCalled = call;
    show(model);
    entry->choose();
    panel->takeSignals();
    makeModel();
    show(inner);  // which ends the other model and its actions
    hostIsCalled = [] {};
    show(inner);
    EXPECT_TRUE(runUntil([&] { return panel->menu().find("'Other'") != std::string::npos; }));
  }
}

}  // namespace quill::freedesktop::tests
