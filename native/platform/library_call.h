#pragma once

#include <chrono>
#include <memory>
#include <shared_mutex>

namespace quill {

/// A call of the library, as long as it lasts; calls that a callback makes are part of it. fork(2) waits for those of
/// other threads: a child would find the locks that they hold inside of GLib taken for good. Any thread.
class LibraryCall {
 public:
  LibraryCall() {
    if (depth++ == 0) mutex.lock_shared();
  }
  ~LibraryCall() {
    if (--depth == 0) mutex.unlock_shared();
  }
  LibraryCall(const LibraryCall&) = delete;
  LibraryCall& operator=(const LibraryCall&) = delete;

  /// Before a fork: no other thread's call begins until the next of these. One that goes on for longer is not waited
  /// for, as it may be waiting for this very thread.
  static void holdBack() { isHeldBack = depth == 0 && mutex.try_lock_for(std::chrono::milliseconds{50}); }
  /// After it, in the parent.
  static void release() {
    if (isHeldBack) mutex.unlock();
  }
  /// After it, in the child, which has this thread alone.
  static void releaseInChild() {
    if (depth == 0) std::construct_at(&mutex);
  }

 private:
  static inline std::shared_timed_mutex mutex;
  static inline thread_local int depth = 0;
  static inline thread_local bool isHeldBack = false;
};

}  // namespace quill
