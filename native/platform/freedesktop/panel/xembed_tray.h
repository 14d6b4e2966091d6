#pragma once

#include <chrono>
#include <functional>

#include "backoff.h"
#include "glib_main_queue.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop {

/// Asks the program quill-tray-xembed, if it is installed, to show the item in an XEmbed tray while no panel shows the
/// item. The session bus starts the program. Main thread.
class XEmbedTray {
 public:
  /// `path` is the item's, a string literal. `beforeShow` is called before each call of Show.
  XEmbedTray(GlibMainQueue& queue, const char* path, std::function<void()> beforeShow);
  XEmbedTray(const XEmbedTray&) = delete;
  XEmbedTray& operator=(const XEmbedTray&) = delete;

  void follow(sd_bus* bus) { bus_ = bus; }
  /// Forgets the connection, which is closed.
  void leave();
  /// Calls Show one second after the item starts to need the program, and Hide at once when the item no longer does.
  /// Calls nothing in a Wayland session, without an X display or with QUILL_TRAY_XEMBED=0.
  void setNeeded(bool isNeeded);
  /// Whether the program shows the item, or may be about to.
  bool isInUse() const { return use_ != Use::none; }

 private:
  enum class Use { none, asked, shown };

  int onShown(sd_bus_message* reply, sd_bus_error*);
  int onProgramEnd(sd_bus_message* signal, sd_bus_error*);
  void show();
  void hide();
  void retry();

  const char* path_;
  std::function<void()> beforeShow_;
  sd_bus* bus_ = nullptr;  // not owned
  bool isNeeded_ = false;
  Use use_ = Use::none;
  Backoff backoff_;
  OneShotTimer call_;
  std::chrono::nanoseconds shownAt_{};  // of CLOCK_MONOTONIC
  SlotHandle request_;
  SlotHandle programEnd_;
};

}  // namespace quill::freedesktop
