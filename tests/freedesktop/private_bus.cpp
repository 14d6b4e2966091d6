#include "private_bus.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <vector>

namespace quill::freedesktop {

PrivateBus::PrivateBus() : directory_(std::filesystem::temp_directory_path() / "quill-bus-XXXXXX") {
  if (mkdtemp(directory_.data()) == nullptr) throw std::runtime_error("no directory for the bus");
  socketPath_ = directory_ + "/bus";
}

PrivateBus::~PrivateBus() {
  kill();
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

void PrivateBus::start() {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  std::vector<std::string> words = {"dbus-daemon", "--session",       "--nofork",
                                    "--nopidfile", "--print-address", "--address=" + address()};
  std::vector<char*> arguments;
  for (auto& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const int failure = posix_spawnp(&daemon_, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  char answer = 0;  // the address comes once the daemon listens; an early end closes the pipe
  const bool listens = failure == 0 && read(ends[0], &answer, 1) == 1;
  close(ends[0]);
  if (!listens) throw std::runtime_error("dbus-daemon does not start");
}

void PrivateBus::kill() {
  if (daemon_ == 0) return;
  ::kill(daemon_, SIGKILL);
  waitpid(daemon_, nullptr, 0);
  daemon_ = 0;
}

}  // namespace quill::freedesktop
