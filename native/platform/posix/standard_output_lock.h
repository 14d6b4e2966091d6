#pragma once

#include <cstdio>

// The thread sanitizer does not know flockfile(3).
#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#define QUILL_LOCKED(lock) __tsan_acquire(lock)
#define QUILL_UNLOCKS(lock) __tsan_release(lock)
#else
#define QUILL_LOCKED(lock) static_cast<void>(0)
#define QUILL_UNLOCKS(lock) static_cast<void>(0)
#endif

namespace quill::posix {

/// Holds the lock of C's standard output.
class StandardOutputLock {
 public:
  StandardOutputLock() {
    flockfile(stdout);
    QUILL_LOCKED(stdout);
  }
  StandardOutputLock(const StandardOutputLock&) = delete;
  StandardOutputLock& operator=(const StandardOutputLock&) = delete;
  ~StandardOutputLock() {
    QUILL_UNLOCKS(stdout);
    funlockfile(stdout);
  }
};

}  // namespace quill::posix
