// A host that loads and unloads the library at run time.

#include <dlfcn.h>
#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "quill_tray_manager.h"

namespace {

TEST(SharedLibrary, ExportsElevenNames) {
  const std::unique_ptr<FILE, int (*)(FILE*)> nm(popen("nm -D --defined-only --format=just-symbols " LIBRARY, "r"),
                                                 pclose);
  ASSERT_NE(nm, nullptr);
  std::vector<std::string> names;
  char line[256];
  while (fgets(line, sizeof line, nm.get()) != nullptr) names.emplace_back(line, strcspn(line, "\n"));
  std::vector<std::string> expected;
  for (const auto* name :
       {"create", "set_main_icon", "add_animation_frame", "start_animation", "stop_animation", "reset_animation",
        "set_menu_ptr", "set_click_callback", "set_menu_items_json", "set_menu_item_callback", "open_url"}) {
    expected.push_back(std::string("quill_tray_manager_") + name);
  }
  EXPECT_THAT(names, ::testing::UnorderedElementsAreArray(expected));
}

TEST(SharedLibrary, MayBeUnloadedAndLoadedAgain) {
  setenv("HOME", ::testing::TempDir().c_str(), 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nobody/listens", 1);
  gsize size = 0;
  const std::unique_ptr<guchar, void (*)(gpointer)> png(
      g_base64_decode("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAAAAAA6fptVAAAACklEQVR4nGNgAAAAAgABSK+kcQAAAABJRU5ErkJggg==",
                      &size),
      g_free);
  std::vector<void*> addresses;
  for (int i = 0; i < 2; ++i) {
    void* const library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto find = [&]<typename Function>(Function*, const char* name) {
      addresses.push_back(dlsym(library, name));
      return reinterpret_cast<Function*>(addresses.back());
    };
#define QUILL_FIND(name) find(static_cast<decltype(&(name))>(nullptr), #name)
    QUILL_FIND(quill_tray_manager_create)();
    QUILL_FIND(quill_tray_manager_add_animation_frame)(png.get(), static_cast<intptr_t>(size));
    QUILL_FIND(quill_tray_manager_start_animation)();
    dlclose(library);
    // Ticks and attempts to connect go on, and log.
    gboolean over = FALSE;
    g_timeout_add(
        150, [](gpointer flag) -> gboolean { return *static_cast<gboolean*>(flag) = TRUE, G_SOURCE_REMOVE; }, &over);
    while (over == FALSE) g_main_context_iteration(nullptr, TRUE);
  }
  ASSERT_EQ(addresses.size(), 6U);
  EXPECT_EQ(addresses[0], addresses[3]) << "it stays in the process";
}

}  // namespace
