#pragma once

#include <functional>
#include <optional>
#include <string>

#include "backoff.h"
#include "bus_handshake.h"
#include "glib_main_queue.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop {

/// A private connection to the session bus. The default main context drives it. It never blocks. If the bus is missing,
/// refuses or goes away, the connection is made again later. Main thread.
class Bus {
 public:
  struct Handlers {
    /// A new connection is open and has its unique name. Nothing is sent earlier, because xdg-dbus-proxy before 0.1.6
    /// mixes up the replies to such messages.
    std::function<void(sd_bus*)> opened;
    /// That connection is closed; its slots are to be released.
    std::function<void()> lost;
  };

  Bus(GlibMainQueue& queue, std::string address, Handlers handlers);
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  /// Connects, and connects again whenever the connection is lost. Call it once.
  void start();
  bool isStarted() const { return source_ != nullptr; }
  /// The connection; null while nothing can be sent on it.
  sd_bus* connection();

 private:
  struct Source;
  static GSourceFuncs sourceFunctions;

  void connect();
  void open();
  bool isCongested() const;
  void prepare();
  void process();
  void lose();
  /// Makes GLib call process() when `descriptor` has one of `events`, or at `readyTime`, in microseconds of
  /// CLOCK_MONOTONIC. -1 stands for no descriptor.
  void wait(int descriptor, int events, gint64 readyTime = kNever);

  GlibMainQueue& queue_;
  std::string address_;
  Handlers handlers_;
  Backoff backoff_;
  std::optional<OneShotTimer> reconnect_;
  SourceHandle source_;
  void* watch_ = nullptr;  // the descriptor's tag in source_
  int descriptor_ = -1;
  int events_ = 0;
  bool isProcessing_ = false;              // a main loop inside a handler must not enter sd-bus again
  std::optional<BusHandshake> handshake_;  // while there is no bus_ yet
  BusHandle bus_;
  bool isOpen_ = false;  // handlers_.opened was called for bus_
  std::chrono::nanoseconds openedAt_{};
};

}  // namespace quill::freedesktop
