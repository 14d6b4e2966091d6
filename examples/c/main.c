/*
 * A host in C: an icon in the tray with a menu, and a line on standard output for whatever the user does.
 *
 *   example_c            the menu below
 *   example_c --basic    no items of our own: the library offers its basic menu
 */
#include <quill_tray_manager.h>
#include <stdio.h>
#include <string.h>

#include "icon_png.h"
#include "main_loop.h"

static const char menu_items[] =
    "["
    "{\"id\": \"show\", \"title\": \"显示主窗口\", \"keyEquivalent\": \"Cmd+Shift+K\"},"
    "{\"id\": \"preferences\", \"title\": \"偏好设置…\", \"keyEquivalent\": \"Cmd+P\"},"
    "{\"id\": \"update\", \"title\": \"正在检查更新\", \"enabled\": false},"
    "{\"id\": \"quit\", \"title\": \"退出\", \"keyEquivalent\": \"Cmd+Q\"}"
    "]";

static void on_click(void) { puts("clicked"); }

static void on_menu_item(const char* identifier) {
  printf("chosen: %s\n", identifier);
  if (strcmp(identifier, "quit") == 0) end_main_loop();
}

int main(int argc, char** argv) {
  setvbuf(stdout, NULL, _IOLBF, 0); /* each line at once, into a pipe as well */

  name_application();
  if (argc < 2 || strcmp(argv[1], "--basic") != 0) quill_tray_manager_set_menu_items_json(menu_items);
  quill_tray_manager_set_click_callback(on_click);
  quill_tray_manager_set_menu_item_callback(on_menu_item);
  quill_tray_manager_create();
  quill_tray_manager_set_main_icon(icon_png, sizeof icon_png);

  run_main_loop();
  return 0;
}
