#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "backoff.h"
#include "glib_main_queue.h"
#include "panel_kind.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop {

/// Registers an object as a status item with the watcher: with each new owner of the watcher's name, and again a few
/// times while that owner answers with an error. Main thread.
class Watcher {
 public:
  /// `path` is the object's, a string literal. `found` is called before each new watcher is registered with, and told
  /// which panel that watcher belongs to.
  Watcher(GlibMainQueue& queue, const char* path, std::function<void(PanelKind panel)> found);
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  void follow(sd_bus* bus);
  /// Forgets the connection, which is closed.
  void leave();

 private:
  int onOwnerChange(sd_bus_message* signal, sd_bus_error*);
  int onOwner(sd_bus_message* reply, sd_bus_error*);
  int onPanelOwner(sd_bus_message* reply, sd_bus_error*);
  int onRegistered(sd_bus_message* reply, sd_bus_error*);

  void setOwner(std::string owner);
  void registerItem();

  const char* path_;
  std::function<void(PanelKind)> found_;
  sd_bus* bus_ = nullptr;  // not owned
  std::string owner_;      // the watcher's unique name; empty while there is none
  SlotHandle ownerQuery_;
  std::vector<SlotHandle> panelQueries_;  // one for each known panel
  std::size_t unanswered_ = 0;            // of panelQueries_
  PanelKind panel_ = PanelKind::other;
  Backoff backoff_;
  int attempts_ = 0;
  OneShotTimer retry_;
  SlotHandle registration_;
};

}  // namespace quill::freedesktop
