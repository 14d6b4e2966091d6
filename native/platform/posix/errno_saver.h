#pragma once

#include <cerrno>

namespace quill::posix {

/// Puts errno back: a log call between a host's failed call and its look at errno must not show.
class ErrnoSaver {
 public:
  ErrnoSaver() = default;
  ErrnoSaver(const ErrnoSaver&) = delete;
  ErrnoSaver& operator=(const ErrnoSaver&) = delete;
  ~ErrnoSaver() { errno = value_; }

 private:
  int value_ = errno;
};

}  // namespace quill::posix
