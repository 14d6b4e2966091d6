#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <mutex>

#include "glib_handles.h"
#include "main_queue.h"

namespace quill::freedesktop {

/// GLib's default main context as the main queue. Posted work runs even after the object is destroyed.
class GlibMainQueue : public MainQueue {
 public:
  bool isCurrent() const override;
  void post(std::function<void()> work) override;
  std::unique_ptr<Timer> repeat(std::chrono::nanoseconds period, std::function<void()> tick) override;

  /// Records the main thread: the thread that last dispatched one of our sources, or that last made a call that hosts
  /// make on the main thread alone.
  class MainThreadTracker {
   public:
    void recordDispatch() { last_.store(callingThread(), std::memory_order_relaxed); }
    /// Whether the noted thread lives.
    bool isKnown() const;
    /// Whether the calling thread is the noted one or, where that does not live, the process's first.
    bool isExpectedHere() const;

   private:
    struct alignas(8) Thread {   // aligned for an atomic one without a lock
      std::uint32_t number = 0;  ///< from 1 on; not given to another thread later
      pid_t id = 0;              ///< the system's
    };
    static Thread callingThread();

    std::atomic<Thread> last_{};
  };
  const std::shared_ptr<MainThreadTracker>& mainThread() { return mainThread_; }

 protected:
  void takeCallerForMainThread() override;
  bool isMainThreadKnown() const override;

 private:
  /// Whether no other thread runs the main context.
  bool isContextFree() const;

  mutable std::mutex trial_;
  std::shared_ptr<MainThreadTracker> mainThread_ = std::make_shared<MainThreadTracker>();
};

/// A call on the default main context at a given time. Main thread; may be destroyed inside its own call.
class OneShotTimer {
 public:
  OneShotTimer(GlibMainQueue& queue, std::function<void()> call);
  OneShotTimer(const OneShotTimer&) = delete;
  OneShotTimer& operator=(const OneShotTimer&) = delete;
  /// Replaces an earlier setting.
  void setDueIn(std::chrono::nanoseconds delay);
  void cancel();

 private:
  SourceHandle source_;
};

/// Calls `call` once, when `descriptor` is readable or at its end. Main thread; the call may reset the handle.
SourceHandle callWhenReadable(GlibMainQueue& queue, int descriptor, std::function<void()> call);

/// CLOCK_MONOTONIC, which GLib's due times count in.
std::chrono::nanoseconds monotonicNow();

}  // namespace quill::freedesktop
