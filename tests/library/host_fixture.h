#pragma once

#include <gio/gio.h>

#include "forked_host.h"
#include "private_bus.h"
#include "quill_tray_manager.h"

namespace quill::tests {

inline void addFrame() { quill_tray_manager_add_animation_frame(kOnePixelGif, sizeof kOnePixelGif); }
inline void setIcon() { quill_tray_manager_set_main_icon(kOnePixelGif, sizeof kOnePixelGif); }
inline void setItem() { quill_tray_manager_set_menu_items_json(R"([{"id": "a", "title": "A"}])"); }

class HostTest : public ForkedHost {
 protected:
  HostTest() {
    for (const auto* name : {"XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) setenv(name, home.c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
  }

  /// Runs `host` until it exits. Returns what it logged, as "LEVEL message".
  Lines run(const std::function<void()>& host) {
    fs::remove(file);
    ForkedHost::run(host);
    return logged();
  }
  /// Runs the main context until the host's console has `text`.
  void iterateUntilLogged(const std::string& text) const {
    while (!hasPrinted(text)) g_main_context_iteration(nullptr, TRUE);
  }

  PrivateBus bus;  // items wait for it until a test starts it
};

}  // namespace quill::tests
