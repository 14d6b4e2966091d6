/*
 * A host in C++ whose menu is a GMenuModel: check, radio, submenu and shortcuts come from GIO's own classes, and
 * choosing an entry activates its action. Every change of an action's state is a line on standard output.
 *
 *   example_cpp
 */
#include <gio/gio.h>
#include <glib-unix.h>
#include <quill_tray_manager.h>

#include <cstdio>
#include <memory>

#include "../c/icon_png.h"

namespace {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
  void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

/* An action with a boolean state is a check entry; one with a state and a target is a radio entry. */
void onStateChanged(GSimpleAction* action, GVariant* value, gpointer /*data*/) {
  const std::unique_ptr<char, decltype(&g_free)> text(g_variant_print(value, FALSE), &g_free);
  std::printf("%s: %s\n", g_action_get_name(G_ACTION(action)), text.get());
  g_simple_action_set_state(action, value);
}

void onRefresh(GSimpleAction* /*action*/, GVariant* /*target*/, gpointer /*data*/) { std::puts("refresh"); }

void onQuit(GSimpleAction* /*action*/, GVariant* /*target*/, gpointer loop) {
  std::puts("quit");
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
}

Owned<GSimpleActionGroup> makeActions(GMainLoop* loop) {
  const GActionEntry entries[] = {
      {"mute", nullptr, nullptr, "false", onStateChanged, {}},
      {"quality", nullptr, "s", "'high'", onStateChanged, {}},
      {"refresh", onRefresh, nullptr, nullptr, nullptr, {}},
      {"quit", onQuit, nullptr, nullptr, nullptr, {}},
  };
  Owned<GSimpleActionGroup> actions(g_simple_action_group_new());
  g_action_map_add_action_entries(G_ACTION_MAP(actions.get()), entries, G_N_ELEMENTS(entries), loop);
  return actions;
}

void append(GMenu* menu, const char* label, const char* action, const char* shortcut = nullptr) {
  const Owned<GMenuItem> item(g_menu_item_new(label, action));
  if (shortcut != nullptr) g_menu_item_set_attribute(item.get(), "accel", "s", shortcut);
  g_menu_append_item(menu, item.get());
}

Owned<GMenu> makeMenu() {
  const Owned<GMenu> qualities(g_menu_new());
  append(qualities.get(), "_Low", "tray.quality::low");
  append(qualities.get(), "_High", "tray.quality::high");

  const Owned<GMenu> settings(g_menu_new());
  append(settings.get(), "_Mute", "tray.mute", "<Control>m");
  g_menu_append_submenu(settings.get(), "_Quality", G_MENU_MODEL(qualities.get()));

  const Owned<GMenu> commands(g_menu_new());
  append(commands.get(), "_Refresh", "tray.refresh", "<Control>r");
  append(commands.get(), "Q_uit", "tray.quit", "<Control>q");

  Owned<GMenu> menu(g_menu_new());
  g_menu_append_section(menu.get(), nullptr, G_MENU_MODEL(settings.get()));
  g_menu_append_section(menu.get(), nullptr, G_MENU_MODEL(commands.get()));
  return menu;
}

}  // namespace

int main() {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);  // each line at once, into a pipe as well
  g_set_prgname("quill-example-cpp");        // panels remember the item by it
  g_set_application_name("Quill in C++");    // what users read
  const Owned<GMainLoop> loop(g_main_loop_new(nullptr, FALSE));
  const auto menu = makeMenu();
  // "tray." in the model's action names is looked up in the group under this key.
  g_object_set_data_full(G_OBJECT(menu.get()), QUILL_TRAY_MANAGER_ACTION_GROUP_KEY "tray",
                         makeActions(loop.get()).release(), g_object_unref);

  quill_tray_manager_set_click_callback([] { std::puts("clicked"); });
  quill_tray_manager_set_menu_ptr(menu.get());
  quill_tray_manager_create();
  quill_tray_manager_set_main_icon(icon_png, sizeof icon_png);

  // What ends the process from outside, a session's end for one, ends the loop, and with it main.
  g_unix_signal_add(
      SIGTERM,
      [](gpointer ended) -> gboolean { return g_main_loop_quit(static_cast<GMainLoop*>(ended)), G_SOURCE_CONTINUE; },
      loop.get());
  g_main_loop_run(loop.get());
}
