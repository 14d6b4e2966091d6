#pragma once

#include <sys/types.h>

#include <string>

namespace quill::freedesktop {

/// A session bus that nobody else is on, at an address that stays the same when it is restarted.
class PrivateBus {
 public:
  PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;
  ~PrivateBus();

  /// Returns once it takes connections.
  void start();
  void kill();
  const std::string& socketPath() const { return socketPath_; }
  std::string address() const { return "unix:path=" + socketPath_; }

 private:
  std::string directory_;
  std::string socketPath_;
  pid_t daemon_ = 0;
};

}  // namespace quill::freedesktop
