#pragma once

#include <cerrno>

namespace quill::posix {

/// Restores errno, so that a host may log between a call that failed and reading errno.
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
