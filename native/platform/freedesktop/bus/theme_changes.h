#pragma once

#include <functional>

#include "glib_main_queue.h"
#include "panel_kind.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop {

/// Word that a panel has changed its colours without drawing icons anew. Main thread.
class ThemeChanges {
 public:
  /// `changed` is called a moment after such word, when the panel has taken on its new colours itself.
  ThemeChanges(GlibMainQueue& queue, std::function<void()> changed);

  void follow(sd_bus* bus) { bus_ = bus; }
  /// Forgets the connection, which is closed.
  void leave();
  /// Whose word counts from now on.
  void listenTo(PanelKind panel);

 private:
  static int onChange(sd_bus_message* message, void* self, sd_bus_error* error);

  sd_bus* bus_ = nullptr;  // not owned
  SlotHandle match_;
  std::function<void()> changed_;
  bool isDue_ = false;  // however often it is said, it is acted upon once in a while
  DueCall timer_;
};

}  // namespace quill::freedesktop
