#pragma once

#include <sys/types.h>

#include <cerrno>
#include <csignal>
#include <string_view>

namespace quill::posix {

/// Puts errno back: a log call between a host's failed call and its look at errno must not show.
class ErrnoKept {
 public:
  ErrnoKept() : value_(errno) {}
  ErrnoKept(const ErrnoKept&) = delete;
  ErrnoKept& operator=(const ErrnoKept&) = delete;
  ~ErrnoKept() { errno = value_; }

 private:
  int value_;
};

/// Keeps the two signals that a write can raise, SIGPIPE and SIGXFSZ, from the thread that makes
/// one; handlers stay untouched. After a failed write `drop` takes back what it raised; signals
/// that waited before are the host's and stay.
class WriteSignalsHeld {
 public:
  WriteSignalsHeld();
  WriteSignalsHeld(const WriteSignalsHeld&) = delete;
  WriteSignalsHeld& operator=(const WriteSignalsHeld&) = delete;
  ~WriteSignalsHeld();

  void drop();

 private:
  sigset_t ours_{};
  sigset_t before_{};
};

/// write(2) that raises no signal, where the other end of a pipe or socket is gone or where a file
/// would grow beyond the process's limit.
ssize_t writeQuietly(int file, std::string_view bytes);

}  // namespace quill::posix
