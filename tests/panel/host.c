/*
 * A host that obeys. A line on standard input is one command; once it is carried out, and the bus was told, the
 * command's first word comes back on standard output, as does whatever the library tells its host.
 *
 *   items JSON    model TITLE    icon FILE    frame FILE    open URL    start    reset    create    trim    end
 */
#include <gio/gio.h>
#include <malloc.h>
#include <quill_tray_manager.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void on_click(void) { puts("clicked"); }

static void on_menu_item(const char* identifier) { printf("chosen: %s\n", identifier); }

static void hand_over(const char* path, void (*take)(const uint8_t* bytes, intptr_t length)) {
  g_autofree gchar* bytes = NULL;
  gsize length = 0;
  if (!g_file_get_contents(path, &bytes, &length, NULL)) abort();
  take((const uint8_t*)bytes, (intptr_t)length);
}

static void set_icon(const char* path) { hand_over(path, quill_tray_manager_set_main_icon); }

static void add_frame(const char* path) { hand_over(path, quill_tray_manager_add_animation_frame); }

static void show_model(const char* title) {
  g_autoptr(GMenu) menu = g_menu_new();
  g_menu_append(menu, title, "app.none");
  quill_tray_manager_set_menu_ptr(menu);
  g_menu_append(menu, title, "app.none"); /* it is live */
}

/* Gives back what is free, so that a look at the process's memory sees what is held. */
static void trim(void) { malloc_trim(0); }

static const struct {
  const char* name;
  void (*call)(void);
  void (*call_with)(const char* text);
} commands[] = {{"items", NULL, quill_tray_manager_set_menu_items_json},
                {"model", NULL, show_model},
                {"icon", NULL, set_icon},
                {"frame", NULL, add_frame},
                {"open", NULL, quill_tray_manager_open_url},
                {"start", quill_tray_manager_start_animation, NULL},
                {"reset", quill_tray_manager_reset_animation, NULL},
                {"create", quill_tray_manager_create, NULL},
                {"trim", trim, NULL}};

static gboolean acknowledge(gpointer command) {
  printf("done: %s\n", (char*)command);
  return G_SOURCE_REMOVE;
}

static gboolean on_command(GIOChannel* input, GIOCondition condition, gpointer loop) {
  g_autofree gchar* line = NULL;
  gsize end = 0;
  (void)condition;
  if (g_io_channel_read_line(input, &line, NULL, &end, NULL) != G_IO_STATUS_NORMAL || g_str_has_prefix(line, "end")) {
    g_main_loop_quit(loop);
    return G_SOURCE_REMOVE;
  }
  line[end] = '\0';
  g_auto(GStrv) words = g_strsplit(line, " ", 2);
  size_t i = 0;
  while (strcmp(commands[i].name, words[0]) != 0) {
    if (++i == G_N_ELEMENTS(commands)) abort();
  }
  commands[i].call != NULL ? commands[i].call() : commands[i].call_with(words[1]);
  /* behind what the library has posted meanwhile */
  g_idle_add_full(G_PRIORITY_LOW, acknowledge, g_strdup(words[0]), g_free);
  return G_SOURCE_CONTINUE;
}

int main(void) {
  setvbuf(stdout, NULL, _IOLBF, 0);
  g_autoptr(GMainLoop) loop = g_main_loop_new(NULL, FALSE);
  g_autoptr(GIOChannel) input = g_io_channel_unix_new(0);
  g_io_add_watch(input, G_IO_IN | G_IO_HUP, on_command, loop);
  quill_tray_manager_set_click_callback(on_click);
  quill_tray_manager_set_menu_item_callback(on_menu_item);
  g_main_loop_run(loop);
}
