/*
 * A host in C++ with a window, which a click and the menu's "Show" bring to the front. The window closes into the tray.
 *
 *   example_window
 */
#include <gtk/gtk.h>
#include <quill_tray_manager.h>

#include "../c/icon_png.h"

namespace {

GtkWindow* window = nullptr;  // callbacks have no argument for it; GTK owns it

/* Called in the callback itself: a Wayland compositor raises a window only for the input that the callback is for. */
void show() { gtk_window_present(window); }

void onMenuItem(const char* identifier) {
  if (g_str_equal(identifier, "show")) return show();
  g_application_quit(g_application_get_default());
}

void onActivate(GtkApplication* application, gpointer /*data*/) {
  if (window != nullptr) return show();  // the application was started once more
  window = GTK_WINDOW(gtk_application_window_new(application));
  gtk_window_set_title(window, "Window of example_window");
  gtk_window_set_default_size(window, 700, 360);
  g_signal_connect(window, "delete-event", G_CALLBACK(gtk_widget_hide_on_delete), nullptr);
  gtk_widget_show_all(GTK_WIDGET(window));

  quill_tray_manager_set_menu_items_json(
      R"([{"id": "show", "title": "Show"}, {"id": "quit", "title": "Quit", "keyEquivalent": "Cmd+Q"}])");
  quill_tray_manager_set_click_callback(show);
  quill_tray_manager_set_menu_item_callback(onMenuItem);
  quill_tray_manager_create();
  quill_tray_manager_set_main_icon(icon_png, sizeof icon_png);
}

}  // namespace

int main() {
  g_autoptr(GtkApplication) application = gtk_application_new("org.example.Window", G_APPLICATION_NON_UNIQUE);
  g_signal_connect(application, "activate", G_CALLBACK(onActivate), nullptr);
  return g_application_run(G_APPLICATION(application), 0, nullptr);
}
