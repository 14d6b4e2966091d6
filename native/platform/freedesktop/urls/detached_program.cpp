#include "detached_program.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace quill::freedesktop {
namespace {

std::vector<char*> terminated(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const auto& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

// In the new process: another thread's locks stay locked here for ever, so nothing may allocate.
[[noreturn]] void become(const Program& program, char* const* arguments, char** environment, const sigset_t& mask) {
  const int null = open("/dev/null", O_RDWR);
  dup2(null, STDIN_FILENO);
  if (program.isQuiet) {
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
  }
  close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
  if (program.directory.empty() || chdir(program.directory.c_str()) == 0) {
    environ = environment;
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    execvp(arguments[0], arguments);
  }
  _exit(127);
}

}  // namespace

Inheritance Inheritance::now() {
  Inheritance now;
  pthread_sigmask(SIG_SETMASK, nullptr, &now.signalMask);
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    now.environment.emplace_back(*variable);
  }
  return now;
}

void startDetached(const Program& program, const Inheritance& inheritance) {
  const auto arguments = terminated(program.arguments);
  auto environment = terminated(inheritance.environment);
  // Like fork, but its end raises no signal: the host's SIGCHLD handler does not run, and its waitpid(-1) does not see
  // this process, which ends at once and leaves the program an orphan. posix_spawn would show the host a child.
  const auto middle = static_cast<pid_t>(syscall(SYS_clone, 0, nullptr, nullptr, nullptr, nullptr));
  if (middle == 0) {
    if (_Fork() == 0) become(program, arguments.data(), environment.data(), inheritance.signalMask);
    _exit(0);
  }
  while (middle > 0 && waitpid(middle, nullptr, static_cast<int>(__WCLONE)) < 0 && errno == EINTR) continue;
}

}  // namespace quill::freedesktop
