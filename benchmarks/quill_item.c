// An item by this library's C functions alone.
#include <glib-unix.h>
#include <glib.h>
#include <quill_tray_manager.h>

#include "item.h"

static struct {
  gchar* bytes;
  gsize size;
} icons[kIcons];

static gboolean doneOnce(gpointer data) {
  (void)data;
  done();
  return G_SOURCE_REMOVE;
}

static void change(int count) {
  for (int i = 0; i < count; ++i) {
    quill_tray_manager_add_animation_frame((const uint8_t*)icons[i % kIcons].bytes, (intptr_t)icons[i % kIcons].size);
  }
  quill_tray_manager_start_animation();
  g_timeout_add((guint)((count + 1) * kTick), doneOnce, NULL);
}

static void showMenu(const char* file) {
  gchar* json = NULL;
  if (!g_file_get_contents(file, &json, NULL, NULL)) exit(2);
  quill_tray_manager_set_menu_items_json(json);
  g_free(json);
  g_idle_add(doneOnce, NULL);  // behind what the library does in its next turn
}

static gboolean onInput(gint file, GIOCondition condition, gpointer data) {
  (void)file, (void)condition, (void)data;
  const struct Command command = readCommand();
  if (isNamed(&command, "change")) change(atoi(command.argument));
  if (isNamed(&command, "menu")) showMenu(command.argument);
  return G_SOURCE_CONTINUE;
}

int main(int count, char** arguments) {
  if (count != 1 + 2 * kIcons) return 2;
  for (int i = 0; i < kIcons; ++i) {
    if (!g_file_get_contents(arguments[1 + kIcons + i], &icons[i].bytes, &icons[i].size, NULL)) return 2;
  }
  quill_tray_manager_set_menu_items_json("[{\"id\": \"quit\", \"title\": \"Quit\"}]");
  quill_tray_manager_create();
  quill_tray_manager_set_main_icon((const uint8_t*)icons[0].bytes, (intptr_t)icons[0].size);
  g_unix_fd_add(STDIN_FILENO, G_IO_IN | G_IO_HUP, onInput, NULL);
  g_main_loop_run(g_main_loop_new(NULL, FALSE));
}
