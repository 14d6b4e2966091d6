#pragma once

#include <array>
#include <functional>
#include <memory>

#include "bar_source.h"
#include "bus.h"
#include "glib_main_queue.h"
#include "panel.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop {

/// Follows the colours of a panel's bar. Main thread.
class BarColours {
 public:
  struct Handlers {
    /// The panel has other colours than before, and has painted no icon in them by itself.
    std::function<void()> changed;
    BarSource::Told told;
  };
  BarColours(Bus& bus, GlibMainQueue& queue, Handlers handlers);
  BarColours(const BarColours&) = delete;
  BarColours& operator=(const BarColours&) = delete;

  /// Follows this panel alone from now on.
  void follow(const Panel& panel);
  /// Forgets the connection, which is closed.
  void leave();

 private:
  int onThemeSignal(sd_bus_message* signal, sd_bus_error*);

  Bus& bus_;
  GlibMainQueue& queue_;
  Handlers handlers_;
  const Panel* panel_ = &kUnknownPanel;
  std::array<SlotHandle, 2> matches_;
  std::array<OneShotTimer, 2> repaints_;
  std::unique_ptr<BarSource> source_;  // null: the panel does not tell
};

}  // namespace quill::freedesktop
