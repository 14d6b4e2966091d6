#pragma once

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

namespace quill::freedesktop {

/// A session bus that nobody else is on, at an address that stays the same when it is restarted.
class PrivateBus {
 public:
  ~PrivateBus() {
    kill();
    std::filesystem::remove_all(directory);
  }

  /// Returns once it takes connections.
  void start() {
    if (output_) return;
    const std::string command = "echo $$; exec dbus-daemon --session --nofork --nopidfile --print-address --address=";
    output_.reset(popen((command + address()).c_str(), "re"));
    char printed = 0;  // its address, once it listens
    if (fscanf(output_.get(), "%d %c", &process_, &printed) != 2) throw std::runtime_error("no dbus-daemon");
  }
  void kill() {
    if (output_) ::kill(process_, SIGKILL);
    output_.reset();
  }
  std::string address() const { return "unix:path=" + (directory / "bus").string(); }

  const std::filesystem::path directory =
      mkdtemp((std::filesystem::temp_directory_path() / "quill-bus-XXXXXX").string().data());

 private:
  pid_t process_ = 0;
  std::unique_ptr<FILE, int (*)(FILE*)> output_{nullptr, pclose};
};

}  // namespace quill::freedesktop
