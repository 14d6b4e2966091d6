/*
 * A host that obeys. A line on standard input is one command; once it is carried out, and the bus was told, the
 * command's first word comes back on standard output, as does whatever the library tells its host.
 *
 *   items JSON    model TITLE    icon FILE    frame FILE    start    reset    create    end
 */
#include <gio/gio.h>
#include <quill_tray_manager.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void on_click(void) { puts("clicked"); }

static void on_menu_item(const char* identifier) { printf("chosen: %s\n", identifier); }

static void hand_over(const char* path, void (*take)(const uint8_t* bytes, intptr_t length)) {
  gchar* bytes = NULL;
  gsize length = 0;
  if (!g_file_get_contents(path, &bytes, &length, NULL)) abort();
  take((const uint8_t*)bytes, (intptr_t)length);
  g_free(bytes);
}

static gboolean acknowledge(gpointer command) {
  printf("done: %s\n", (char*)command);
  return G_SOURCE_REMOVE;
}

static void show_model(const char* title) {
  GMenu* menu = g_menu_new();
  g_menu_append(menu, title, "app.none");
  quill_tray_manager_set_menu_ptr(menu);
  g_menu_append(menu, title, "app.none"); /* it is live */
  g_object_unref(menu);
}

static gboolean on_command(GIOChannel* input, GIOCondition condition, gpointer loop) {
  gchar* line = NULL;
  gsize end = 0;
  (void)condition;
  if (g_io_channel_read_line(input, &line, NULL, &end, NULL) != G_IO_STATUS_NORMAL) {
    g_main_loop_quit(loop);
    return G_SOURCE_REMOVE;
  }
  line[end] = '\0';
  gchar** words = g_strsplit(line, " ", 2);
  if (strcmp(words[0], "items") == 0) {
    quill_tray_manager_set_menu_items_json(words[1]);
  } else if (strcmp(words[0], "model") == 0) {
    show_model(words[1]);
  } else if (strcmp(words[0], "icon") == 0) {
    hand_over(words[1], quill_tray_manager_set_main_icon);
  } else if (strcmp(words[0], "frame") == 0) {
    hand_over(words[1], quill_tray_manager_add_animation_frame);
  } else if (strcmp(words[0], "start") == 0) {
    quill_tray_manager_start_animation();
  } else if (strcmp(words[0], "reset") == 0) {
    quill_tray_manager_reset_animation();
  } else if (strcmp(words[0], "create") == 0) {
    quill_tray_manager_create();
  } else if (strcmp(words[0], "end") == 0) {
    g_main_loop_quit(loop);
  } else {
    abort();
  }
  /* behind what the library has posted meanwhile */
  g_idle_add_full(G_PRIORITY_LOW, acknowledge, g_strdup(words[0]), g_free);
  g_strfreev(words);
  g_free(line);
  return G_SOURCE_CONTINUE;
}

int main(void) {
  setvbuf(stdout, NULL, _IOLBF, 0);
  GMainLoop* loop = g_main_loop_new(NULL, FALSE);
  GIOChannel* input = g_io_channel_unix_new(0);
  g_io_add_watch(input, G_IO_IN | G_IO_HUP, on_command, loop);
  quill_tray_manager_set_click_callback(on_click);
  quill_tray_manager_set_menu_item_callback(on_menu_item);
  g_main_loop_run(loop);
  g_io_channel_unref(input);
  g_main_loop_unref(loop);
  return 0;
}
