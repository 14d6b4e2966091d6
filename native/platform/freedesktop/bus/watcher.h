#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string>

#include "backoff.h"
#include "glib_main_queue.h"
#include "name_owner.h"
#include "panel_kind.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop {

/// Announces an object as a status item to whoever watches for them: whenever the watcher's name
/// gains an owner, and a few times more while that owner answers with an error. Main thread.
class Watcher {
 public:
  /// `path` is that of the object to announce. `found` is called before it is announced to another
  /// watcher, and told whose that one is.
  Watcher(GlibMainQueue& queue, std::string path, std::function<void(PanelKind panel)> found);
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  void follow(sd_bus* bus);
  /// Forgets the connection, which is closed.
  void leave();

 private:
  static constexpr std::size_t kKnownPanels = 3;

  static int onPanelOwner(sd_bus_message* message, void* self, sd_bus_error* error);
  static int onRegistered(sd_bus_message* message, void* self, sd_bus_error* error);

  void ownerChanged();
  void registerItem();
  void retryLater();

  std::string path_;
  std::function<void(PanelKind)> found_;
  sd_bus* bus_ = nullptr;  // not owned
  NameOwner owner_;
  std::array<SlotHandle, kKnownPanels> panelOwners_;
  std::size_t unanswered_ = 0;
  PanelKind panel_ = PanelKind::other;
  Backoff backoff_;
  int attempts_ = 0;
  DueCall retry_;
  SlotHandle registration_;
};

}  // namespace quill::freedesktop
