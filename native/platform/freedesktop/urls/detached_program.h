#pragma once

#include <csignal>
#include <memory>
#include <string>
#include <vector>

namespace quill::freedesktop {

/// Variables of the environment, as "NAME=value".
using Variables = std::vector<std::string>;

/// The attributes that a child of the calling thread would inherit now; the host may change them before the child
/// starts. The variable of an activation token is left out, because another thread may be writing it.
struct ProcessAttributes {
  /// Reuses `latest`, a copy of the environment or null, if the environment is unchanged.
  static ProcessAttributes now(std::shared_ptr<const Variables> latest);
  std::shared_ptr<const Variables> environment;
  sigset_t signalMask{};
};

struct Program {
  std::vector<std::string> arguments;  // the program's name first, looked for in the inherited PATH
  std::string directory;               // to start in; empty: the process's
  bool isQuiet = false;                // its output is discarded
};

/// Starts a program that is no child of this process, so that the host sees no SIGCHLD. The program leads a session of
/// its own, reads nothing from standard input and inherits only standard output and error. Returns false if the system
/// refuses a process. A program that cannot be executed is no failure. Any thread; meant for a thread that blocks all
/// signals.
bool startDetached(const Program& program, const ProcessAttributes& attributes);

}  // namespace quill::freedesktop
