// A host that obeys. A line on standard input is one command; once it is carried out, and the bus was told, the
// command's first word comes back on standard output, as does whatever the library tells its host.
//
//   items JSON    model TITLE    icon FILE    frame FILE    open URL    start    reset    create    trim    end

#include <gio/gio.h>
#include <malloc.h>
#include <quill_tray_manager.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>

namespace {

void handOver(const char* file, void (*take)(const std::uint8_t* bytes, std::intptr_t length)) {
  g_autofree gchar* bytes = nullptr;
  gsize length = 0;
  g_file_get_contents(file, &bytes, &length, nullptr);
  take(reinterpret_cast<const std::uint8_t*>(bytes), static_cast<std::intptr_t>(length));
}

void showModel(const char* title) {
  g_autoptr(GMenu) menu = g_menu_new();
  g_menu_append(menu, title, "app.none");
  quill_tray_manager_set_menu_ptr(menu);
}

const std::map<std::string, void (*)(const char*)> commands = {
    {"items", quill_tray_manager_set_menu_items_json},
    {"model", showModel},
    {"icon", [](const char* file) { handOver(file, quill_tray_manager_set_main_icon); }},
    {"frame", [](const char* file) { handOver(file, quill_tray_manager_add_animation_frame); }},
    {"open", quill_tray_manager_open_url},
    {"start", [](const char*) { quill_tray_manager_start_animation(); }},
    {"reset", [](const char*) { quill_tray_manager_reset_animation(); }},
    {"create", [](const char*) { quill_tray_manager_create(); }},
    {"trim", [](const char*) { malloc_trim(0); }},  // so that a look at the process's memory sees what is held
};

gboolean onCommand(GIOChannel* input, GIOCondition, gpointer loop) {
  g_autofree gchar* line = nullptr;
  g_io_channel_read_line(input, &line, nullptr, nullptr, nullptr);
  g_auto(GStrv) words = g_strsplit(line != nullptr ? g_strchomp(line) : "end", " ", 2);
  const std::string name = words[0];
  if (name == "end") return g_main_loop_quit(static_cast<GMainLoop*>(loop)), G_SOURCE_REMOVE;
  commands.at(name)(words[1]);
  // Behind what the library has posted meanwhile.
  g_idle_add_full(
      G_PRIORITY_LOW, +[](gpointer done) -> gboolean { return std::puts(static_cast<char*>(done)), FALSE; },
      g_strdup(("done: " + name).c_str()), g_free);
  return G_SOURCE_CONTINUE;
}

}  // namespace

int main() {
  setvbuf(stdout, nullptr, _IOLBF, 0);
  g_autoptr(GMainLoop) loop = g_main_loop_new(nullptr, FALSE);
  g_autoptr(GIOChannel) input = g_io_channel_unix_new(0);
  g_io_add_watch(input, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onCommand, loop);
  quill_tray_manager_set_click_callback([] { std::puts("clicked"); });
  quill_tray_manager_set_menu_item_callback([](const char* identifier) { std::printf("chosen: %s\n", identifier); });
  g_main_loop_run(loop);
}
