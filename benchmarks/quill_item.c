// An item by this library's C functions alone.
#include <glib-unix.h>
#include <glib.h>
#include <quill_tray_manager.h>

#include "item.h"

enum { kFrames = 2 };

static struct {
  gchar* bytes;
  gsize size;
} frames[kFrames];

static gboolean reportOnce(gpointer data) {
  (void)data;
  report();
  return G_SOURCE_REMOVE;
}

static gboolean forgetFrames(gpointer data) {
  (void)data;
  quill_tray_manager_reset_animation();
  done();
  return G_SOURCE_REMOVE;
}

/// The two that start the animation and the one that ends it log; their lines are not among what is counted.
static void animate(int counted) {
  const int total = kTicksBefore + counted + kTicksAfter;
  for (int i = 0; i < total; ++i) {
    quill_tray_manager_add_animation_frame((const uint8_t*)frames[i % kFrames].bytes,
                                           (intptr_t)frames[i % kFrames].size);
  }
  quill_tray_manager_start_animation();
  g_timeout_add(kTicksBefore * kTick + kTick / 2, reportOnce, NULL);
  g_timeout_add((guint)((kTicksBefore + counted) * kTick + kTick / 2), reportOnce, NULL);
  g_timeout_add((guint)((total + 1) * kTick), forgetFrames, NULL);
}

static gboolean doneOnce(gpointer data) {
  (void)data;
  done();
  return G_SOURCE_REMOVE;
}

static void showMenu(int count, bool withKeys) {
  char* const json = menuJson(count, withKeys);
  report();
  quill_tray_manager_set_menu_items_json(json);
  free(json);
  g_idle_add(doneOnce, NULL);  // behind what the library does in its next turn
}

static gboolean onInput(gint file, GIOCondition condition, gpointer data) {
  (void)file, (void)condition, (void)data;
  const struct Command command = readCommand();
  if (isNamed(&command, "report")) report();
  if (isNamed(&command, "change")) animate(command.count);
  if (isNamed(&command, "menu")) showMenu(command.count, false);
  if (isNamed(&command, "keys")) showMenu(command.count, true);
  return G_SOURCE_CONTINUE;
}

int main(int count, char** arguments) {
  if (count != 3) return 2;
  for (int i = 0; i < kFrames; ++i) {
    char path[512];
    framePath(path, sizeof path, arguments[2], atoi(arguments[1]), i);
    if (!g_file_get_contents(path, &frames[i].bytes, &frames[i].size, NULL)) return 2;
  }
  quill_tray_manager_set_menu_items_json("[{\"id\": \"quit\", \"title\": \"Quit\"}]");
  quill_tray_manager_create();
  quill_tray_manager_set_main_icon((const uint8_t*)frames[0].bytes, (intptr_t)frames[0].size);
  g_unix_fd_add(STDIN_FILENO, G_IO_IN | G_IO_HUP, onInput, NULL);
  g_main_loop_run(g_main_loop_new(NULL, FALSE));
}
