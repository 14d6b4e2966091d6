// A host that obeys. A line on standard input is one command; once it is carried out, and the bus was told, the
// command's first word comes back on standard output, as does whatever the library tells its host.
//
//   items JSON    model TITLE    icon FILE    frame FILE    open URL    start    reset    create    trim    end

#include <gio/gio.h>
#include <malloc.h>
#include <quill_tray_manager.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>

namespace {

void handOver(const std::string& path, void (*take)(const std::uint8_t* bytes, std::intptr_t length)) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  take(reinterpret_cast<const std::uint8_t*>(bytes.data()), static_cast<std::intptr_t>(bytes.size()));
}

void showModel(const std::string& title) {
  g_autoptr(GMenu) menu = g_menu_new();
  g_menu_append(menu, title.c_str(), "app.none");
  quill_tray_manager_set_menu_ptr(menu);
  g_menu_append(menu, title.c_str(), "app.none");  // it is live
}

using Text = const std::string&;
const std::map<std::string, void (*)(Text)> commands = {
    {"items", [](Text json) { quill_tray_manager_set_menu_items_json(json.c_str()); }},
    {"model", showModel},
    {"icon", [](Text file) { handOver(file, quill_tray_manager_set_main_icon); }},
    {"frame", [](Text file) { handOver(file, quill_tray_manager_add_animation_frame); }},
    {"open", [](Text url) { quill_tray_manager_open_url(url.c_str()); }},
    {"start", [](Text) { quill_tray_manager_start_animation(); }},
    {"reset", [](Text) { quill_tray_manager_reset_animation(); }},
    {"create", [](Text) { quill_tray_manager_create(); }},
    {"trim", [](Text) { malloc_trim(0); }},  // so that a look at the process's memory sees what is held
};

gboolean onCommand(GIOChannel* input, GIOCondition, gpointer loop) {
  g_autofree gchar* line = nullptr;
  gsize end = 0;
  g_io_channel_read_line(input, &line, nullptr, &end, nullptr);
  const std::string text(line != nullptr ? line : "end", line != nullptr ? end : 3);
  const auto word = text.substr(0, text.find(' '));
  if (word == "end") return g_main_loop_quit(static_cast<GMainLoop*>(loop)), G_SOURCE_REMOVE;
  commands.at(word)(text.substr(std::min(word.size() + 1, text.size())));
  // Behind what the library has posted meanwhile.
  g_idle_add_full(
      G_PRIORITY_LOW, +[](gpointer done) -> gboolean { return std::puts(static_cast<char*>(done)), FALSE; },
      g_strdup(("done: " + word).c_str()), g_free);
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
