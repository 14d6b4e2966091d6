// A host that loads and unloads the library at run time.

#include <dlfcn.h>
#include <gio/gio.h>
#include <gtest/gtest.h>

#include <string>

namespace {

TEST(SharedLibrary, ExportsElevenNames) {
  g_autofree gchar* names = nullptr;
  const auto* const nm = "nm -D --defined-only --format=just-symbols " LIBRARY;
  ASSERT_TRUE(g_spawn_command_line_sync(nm, &names, nullptr, nullptr, nullptr));
  std::string expected;
  for (const auto* name :
       {"add_animation_frame", "create", "open_url", "reset_animation", "set_click_callback", "set_main_icon",
        "set_menu_item_callback", "set_menu_items_json", "set_menu_ptr", "start_animation", "stop_animation"}) {
    expected.append("quill_tray_manager_").append(name).append("\n");
  }
  EXPECT_EQ(names, expected);
}

TEST(SharedLibrary, MayBeUnloadedAndLoadedAgain) {
  setenv("HOME", ::testing::TempDir().c_str(), 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nobody/listens", 1);
  constexpr std::uint8_t kImage[] = "GIF89a\1\0\1\0\x80\0\0\xff\0\0\0\0\xff,\0\0\0\0\1\0\1\0\0\2\2D\1\0;";
  void* addresses[2];
  for (void*& address : addresses) {
    void* const library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    address = dlsym(library, "quill_tray_manager_start_animation");
    reinterpret_cast<void (*)()>(dlsym(library, "quill_tray_manager_create"))();
    reinterpret_cast<void (*)(const std::uint8_t*, intptr_t)>(dlsym(library, "quill_tray_manager_add_animation_frame"))(
        kImage, sizeof kImage);
    reinterpret_cast<void (*)()>(address)();
    dlclose(library);
    // Ticks and attempts to connect go on, and log.
    for (const auto end = g_get_monotonic_time() + 150'000; g_get_monotonic_time() < end; g_usleep(1000)) {
      while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
    }
  }
  EXPECT_EQ(addresses[0], addresses[1]) << "it stays in the process";
}

}  // namespace
