#pragma once

#include <string>

#include "backoff.h"
#include "glib_main_queue.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop {

/// Announces an object as a status item to whoever watches for them: whenever the watcher's name
/// gains an owner, and a few times more while that owner answers with an error. Main thread.
class Watcher {
 public:
  /// `path` is that of the object to announce.
  Watcher(GlibMainQueue& queue, std::string path);
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  void follow(sd_bus* bus);
  /// Forgets the connection, which is closed.
  void leave();
  /// The unique name of the watcher; empty while there is none.
  const std::string& owner() const { return owner_; }

 private:
  static int onNameOwnerChanged(sd_bus_message* message, void* self, sd_bus_error* error);
  static int onNameOwner(sd_bus_message* message, void* self, sd_bus_error* error);
  static int onRegistered(sd_bus_message* message, void* self, sd_bus_error* error);

  void setOwner(std::string owner);
  void registerItem();
  void retryLater();

  std::string path_;
  sd_bus* bus_ = nullptr;  // not owned
  std::string owner_;
  Backoff backoff_;
  int attempts_ = 0;
  DueCall retry_;
  SlotHandle nameOwnerChanged_;
  SlotHandle nameOwner_;
  SlotHandle registration_;
};

}  // namespace quill::freedesktop
