// The same item by libayatana-appindicator. It takes the names of files that panels then read, and menu items as
// widgets, so neither pixels nor JSON are among its work.
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <libayatana-appindicator/app-indicator.h>

#include "item.h"

enum { kFrames = 2 };

static AppIndicator* indicator;
static char frames[kFrames][512];
static struct Command command;
static int ticks;

static gboolean tick(gpointer data) {
  (void)data;
  ++ticks;
  if (ticks == kTicksBefore || ticks == kTicksBefore + command.count) report();
  app_indicator_set_icon_full(indicator, frames[isNamed(&command, "change") ? ticks % kFrames : 0], "icon");
  if (ticks < kTicksBefore + command.count + kTicksAfter) return G_SOURCE_CONTINUE;
  done();
  return G_SOURCE_REMOVE;
}

static void showMenu(int count) {
  GtkWidget* const menu = gtk_menu_new();
  for (int i = 0; i < count; ++i) {
    char title[64];
    g_snprintf(title, sizeof title, "Item %05d of a menu", i);
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), gtk_menu_item_new_with_label(title));
  }
  gtk_widget_show_all(menu);
  app_indicator_set_menu(indicator, GTK_MENU(menu));
}

static gboolean doneOnce(gpointer data) {
  (void)data;
  done();
  return G_SOURCE_REMOVE;
}

static gboolean onInput(gint file, GIOCondition condition, gpointer data) {
  (void)file, (void)condition, (void)data;
  command = readCommand();
  if (isNamed(&command, "report")) report();
  if (isNamed(&command, "change") || isNamed(&command, "repeat")) {
    ticks = 0;
    g_timeout_add(kTick, tick, NULL);
  }
  if (isNamed(&command, "menu")) {
    report();
    showMenu(command.count);
    g_idle_add(doneOnce, NULL);
  }
  return G_SOURCE_CONTINUE;
}

int main(int count, char** arguments) {
  gtk_init(&count, &arguments);
  if (count != 3) return 2;
  for (int i = 0; i < kFrames; ++i) framePath(frames[i], sizeof frames[i], arguments[2], atoi(arguments[1]), i);
  indicator = app_indicator_new("benchmark", frames[0], APP_INDICATOR_CATEGORY_APPLICATION_STATUS);
  app_indicator_set_status(indicator, APP_INDICATOR_STATUS_ACTIVE);
  showMenu(1);
  g_unix_fd_add(STDIN_FILENO, G_IO_IN | G_IO_HUP, onInput, NULL);
  gtk_main();
}
