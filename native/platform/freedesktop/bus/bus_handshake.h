#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <string>

#include "file_descriptor.h"

namespace quill::freedesktop {

/// A connection to the bus behind a sandbox's filter, up to the first message. sd-bus sends its whole handshake at
/// once; xdg-dbus-proxy before 0.1.6 rejects that. Any thread, one at a time.
class BusHandshake {
 public:
  /// Connects to the first socket that accepts a connection now, and sends the request to authenticate. Never blocks.
  explicit BusHandshake(const std::string& address);

  bool isConnected() const { return socket_.isOpen(); }
  /// Readable when there is something to do.
  int descriptor() const { return socket_.number(); }
  /// Reads answers. Positive: they are complete; zero: not yet; negative: the errno of a failure.
  int advance();
  /// The same, waiting for them.
  int finish(std::chrono::milliseconds timeout);
  /// Starts `bus`, which has no address, on this connection. Call it once the replies are complete. Returns the result
  /// of sd_bus_start.
  int start(sd_bus* bus);

 private:
  posix::FileDescriptor socket_;
  std::string answers_;
};

}  // namespace quill::freedesktop
