#pragma once

#include <cstdio>

namespace quill::posix {

/// Keeps other threads from C's standard output.
class StandardOutputLock {
 public:
  StandardOutputLock() { flockfile(stdout); }
  StandardOutputLock(const StandardOutputLock&) = delete;
  StandardOutputLock& operator=(const StandardOutputLock&) = delete;
  ~StandardOutputLock() { funlockfile(stdout); }
};

}  // namespace quill::posix
