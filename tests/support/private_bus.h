#pragma once

#include <csignal>
#include <cstdio>
#include <memory>

#include "testing.h"

namespace quill {

/// A session bus of the test's own. Its address stays the same when the bus is restarted.
class PrivateBus {
 public:
  ~PrivateBus() { kill(); }

  /// Returns once it takes connections.
  void start() {
    if (output_) return;
    const std::string command = "echo $$; exec dbus-daemon --session --nofork --nopidfile --print-address --address=";
    output_.reset(popen((command + address()).c_str(), "re"));
    char printed = 0;  // its address, once it listens
    EXPECT_EQ(fscanf(output_.get(), "%d %c", &process_, &printed), 2) << "no dbus-daemon";
  }
  void kill() {
    if (output_) ::kill(process_, SIGKILL);
    output_.reset();
  }
  std::string address() const { return "unix:path=" + (directory / "bus").string(); }

 private:
  TemporaryDirectory temporary_;
  pid_t process_ = 0;
  std::unique_ptr<FILE, int (*)(FILE*)> output_{nullptr, pclose};

 public:
  const fs::path& directory = temporary_.path;
};

}  // namespace quill
