#pragma once

#include <csignal>
#include <string>
#include <vector>

namespace quill::freedesktop {

/// What a child of the calling thread would inherit now; the host may change it before the child starts.
struct Inheritance {
  static Inheritance now();
  std::vector<std::string> environment;
  sigset_t signalMask{};
};

struct Program {
  std::vector<std::string> arguments;  // the program's name first, looked for in the inherited PATH
  std::string directory;               // to start in; empty: the process's
  bool isQuiet = false;                // its output is discarded
};

/// Starts a program that is no child of this process: nothing to wait for, no SIGCHLD. It reads nothing from standard
/// input and gets no other descriptor but standard output and error. A failure is silent. Any thread; meant for one
/// that blocks all signals.
void startDetached(const Program& program, const Inheritance& inheritance);

}  // namespace quill::freedesktop
