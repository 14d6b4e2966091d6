#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "bus.h"

namespace quill::freedesktop {

/// Runs the default main context until `done` holds; false: not within ten seconds.
bool runUntil(const std::function<bool()>& done);
/// Runs it for a while; answers with the CPU time that took.
std::chrono::nanoseconds runFor(std::chrono::milliseconds duration);

/// A watcher and panel on a connection of its own, in the same main context as what it watches.
class FakePanel {
 public:
  explicit FakePanel(const std::string& address, int errorsFirst = 0);
  FakePanel(const FakePanel&) = delete;
  FakePanel& operator=(const FakePanel&) = delete;
  ~FakePanel() = default;

  bool waitForItem() {
    return runUntil([this] { return !itemName.empty(); });
  }

  static constexpr auto kItem = "org.kde.StatusNotifierItem";
  static constexpr auto kMenu = "com.canonical.dbusmenu";
  /// Calls the item, or its menu where `interface` is that one's, and waits for the reply.
  template <typename... Arguments>
  MessageHandle call(const char* interface, const char* member, const char* types = "", Arguments... arguments) {
    auto message = newCall(interface, member);
    if (sd_bus_message_append(message.get(), types, arguments...) < 0) return nullptr;
    return send(std::move(message));
  }
  MessageHandle newCall(const char* interface, const char* member);
  MessageHandle send(MessageHandle message);
  MessageHandle getAll(const char* interface);

  /// The signals since the last call, in order, once all that were sent before it have arrived.
  std::vector<std::string> takeSignals();

  std::string itemName;                ///< who registered last
  std::vector<std::string> itemPaths;  ///< what was registered, in order
  int refused = 0;
  MessageHandle lastSignal;
  std::function<void(std::string_view signal)> heard;  ///< called for each as it comes in

 private:
  static int onRegister(sd_bus_message* message, void* self, sd_bus_error* error);
  static int onSignal(sd_bus_message* message, void* self, sd_bus_error* error);

  GlibMainQueue queue_;
  int errorsFirst_;
  std::vector<std::string> signals_;
  sd_bus* bus_ = nullptr;
  Bus connection_;
};

}  // namespace quill::freedesktop
