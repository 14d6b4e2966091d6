#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "backoff.h"
#include "glib_main_queue.h"
#include "panel.h"
#include "sd_bus_handles.h"
#include "xembed_tray.h"

namespace quill::freedesktop {

/// Registers an object as a status item with each new owner of the watcher's name. Retries a few times if the owner
/// replies with an error. A panel shows the item if the watcher accepts the registration and does not report that it
/// has no host. Outside Plasma, kded owns the name without an object or without a host. Main thread.
class Registration {
 public:
  /// `path` is the object's, a string literal. Calls `found` with the panel that the watcher belongs to, before
  /// registering the item with a new watcher. `otherwise` is needed while no panel shows the item.
  Registration(GlibMainQueue& queue, const char* path, XEmbedTray& otherwise, std::function<void(const Panel&)> found);
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

  void follow(sd_bus* bus);
  /// Forgets the connection, which is closed.
  void leave();

 private:
  /// A question to the bus by whose answer `panel` is recognised.
  struct Query {
    SlotHandle slot;
    const Panel* panel;
  };

  int onOwnerChange(sd_bus_message* signal, sd_bus_error*);
  int onOwner(sd_bus_message* reply, sd_bus_error*);
  int onProcess(sd_bus_message* reply, sd_bus_error*);
  int onNameOwner(sd_bus_message* reply, sd_bus_error*);
  int onNameProcess(sd_bus_message* reply, sd_bus_error*);
  int onRegistered(sd_bus_message* reply, sd_bus_error*);
  int onWatcherSignal(sd_bus_message* signal, sd_bus_error*);
  int onHost(sd_bus_message* reply, sd_bus_error*);

  void setOwner(std::string owner);
  void recognise();
  void askForHost();
  /// Takes an answer to a query: the query's panel is recognised if `isThis`. The last answer starts the registration.
  int answered(sd_bus_message* reply, bool isThis);
  void registerItem();

  const char* path_;
  XEmbedTray& otherwise_;
  std::function<void(const Panel&)> found_;
  sd_bus* bus_ = nullptr;  // not owned
  std::string owner_;      // the watcher's unique name; empty while there is none
  SlotHandle ownerQuery_;
  std::uint32_t process_ = 0;  // the owner's id; 0: not known
  std::vector<Query> queries_;
  std::size_t unanswered_ = 0;  // of queries_
  const Panel* panel_ = &kUnknownPanel;
  SlotHandle watcherSignals_;
  SlotHandle hostQuery_;
  std::optional<bool> hasHost_;  // empty: unknown
  bool isHostAwaited_ = false;   // the registration waits for the answer
  bool isAccepted_ = false;
  Backoff backoff_;
  int attempts_ = 0;
  OneShotTimer retry_;
  SlotHandle registration_;
};

}  // namespace quill::freedesktop
