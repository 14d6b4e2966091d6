// A host that loads and unloads the library at run time.

#include <dlfcn.h>
#include <gio/gio.h>

#include "testing.h"

namespace quill {
namespace {

TEST(SharedLibrary, MayBeUnloadedAndLoadedAgain) {
  setenv("HOME", TempDir().c_str(), 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nobody/listens", 1);
  void* addresses[2];
  for (void*& address : addresses) {
    void* const library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    address = dlsym(library, "quill_tray_manager_start_animation");
    auto* const addFrame = dlsym(library, "quill_tray_manager_add_animation_frame");
    reinterpret_cast<void (*)()>(dlsym(library, "quill_tray_manager_create"))();
    reinterpret_cast<void (*)(const std::uint8_t*, intptr_t)>(addFrame)(kOnePixelGif, sizeof kOnePixelGif);
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
}  // namespace quill
