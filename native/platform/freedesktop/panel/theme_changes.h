#pragma once

#include <functional>

#include "bus.h"
#include "glib_main_queue.h"
#include "panel.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop {

/// Listens for a panel's signal that its colours changed, where that panel does not paint icons anew by itself. Main
/// thread.
class ThemeChanges {
 public:
  /// `changed` is called some time after that signal, when the panel has taken on the new colours.
  ThemeChanges(Bus& bus, GlibMainQueue& queue, std::function<void()> changed)
      : bus_(bus), timer_(queue, std::move(changed)) {}

  /// Follows this panel alone from now on.
  void listenTo(const Panel& panel);
  /// Forgets the connection, which is closed.
  void leave() { match_.reset(); }

 private:
  int onChange(sd_bus_message* signal, sd_bus_error*);

  Bus& bus_;
  SlotHandle match_;
  std::chrono::milliseconds delay_{};
  OneShotTimer timer_;
};

}  // namespace quill::freedesktop
