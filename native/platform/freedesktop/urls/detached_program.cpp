#include "detached_program.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include "activation_variable.h"

namespace quill::freedesktop {
namespace {

std::vector<char*> terminated(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const auto& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

// The functions below run in the new process. They must not allocate, because another thread's locks are taken forever.

/// Closes all descriptors but the standard streams when the process executes a program.
void closeOthersOnExec() {
  if (close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0) return;
  // Kernels before Linux 5.11 and some containers' filters refuse that. opendir(3) would allocate.
  const int list = open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  alignas(dirent64) char entries[4096];
  for (long size = 0; (size = syscall(SYS_getdents64, list, entries, sizeof entries)) > 0;) {
    for (long at = 0; at < size;) {
      const auto* const entry = reinterpret_cast<const dirent64*>(entries + at);
      if (const int number = std::atoi(entry->d_name); number > STDERR_FILENO) fcntl(number, F_SETFD, FD_CLOEXEC);
      at += entry->d_reclen;
    }
  }
}

[[noreturn]] void become(const Program& program, char* const* arguments, char** environment, const sigset_t& mask) {
  setsid();  // so that Ctrl-C in the host's terminal and kill(0, ...) do not reach the program
  const int null = open("/dev/null", O_RDWR);
  dup2(null, STDIN_FILENO);
  if (program.isQuiet) {
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
  }
  closeOthersOnExec();
  if (program.directory.empty() || chdir(program.directory.c_str()) == 0) {
    environ = environment;
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    execvp(arguments[0], arguments);
  }
  _exit(127);
}

}  // namespace

ProcessAttributes ProcessAttributes::now(std::shared_ptr<const Variables> latest) {
  ProcessAttributes now;
  pthread_sigmask(SIG_SETMASK, nullptr, &now.signalMask);
  std::vector<const char*> variables;
  for (char** next = environ; next != nullptr && *next != nullptr; ++next) {
    if (!isActivationVariable(*next)) variables.push_back(*next);
  }
  const bool isSame = latest && std::equal(latest->begin(), latest->end(), variables.begin(), variables.end());
  now.environment = isSame ? std::move(latest) : std::make_shared<const Variables>(variables.begin(), variables.end());
  return now;
}

bool startDetached(const Program& program, const ProcessAttributes& attributes) {
  const auto arguments = terminated(program.arguments);
  auto environment = terminated(*attributes.environment);
  // An intermediate process ends at once and leaves the program an orphan. Without an exit signal, the host's SIGCHLD
  // handler and waitpid(-1) do not see it; posix_spawn(3) would show the host a child.
  auto middle = static_cast<pid_t>(syscall(SYS_clone, 0, nullptr, nullptr, nullptr, nullptr));
  // qemu-user and some containers refuse a clone without a signal. There the host sees a child that ends.
  if (middle < 0) middle = _Fork();
  if (middle == 0) {
    const pid_t started = _Fork();
    if (started == 0) become(program, arguments.data(), environment.data(), attributes.signalMask);
    _exit(started > 0 ? EXIT_SUCCESS : EXIT_FAILURE);
  }
  int status = 0;
  while (middle > 0 && waitpid(middle, &status, static_cast<int>(__WALL)) < 0 && errno == EINTR) continue;
  return middle > 0 && status == 0;
}

}  // namespace quill::freedesktop
