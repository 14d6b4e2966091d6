#pragma once

#include <atomic>
#include <cstdint>

#include "glib_handles.h"
#include "main_queue.h"

namespace quill::freedesktop {

/// GLib's default main context as the main queue. What was posted runs also after the object is gone.
class GlibMainQueue : public MainQueue {
 public:
  bool isCurrent() const override;
  void post(std::function<void()> work) override;
  std::unique_ptr<Timer> repeat(std::chrono::nanoseconds period, std::function<void()> tick) override;

  /// Where each of our sources leaves word of the thread that dispatches it: that is the main thread.
  class Dispatches {
   public:
    void note() { lastThread_.store(threadNumber(), std::memory_order_relaxed); }
    /// 0: no thread yet.
    std::uint64_t lastThread() const { return lastThread_.load(std::memory_order_relaxed); }
    /// The calling thread's number, from 1 on. Unlike the system's own, it is not given to another
    /// thread later, and is the same after a fork.
    static std::uint64_t threadNumber();

   private:
    std::atomic<std::uint64_t> lastThread_{0};
  };
  const std::shared_ptr<Dispatches>& dispatches() { return dispatches_; }

 private:
  std::shared_ptr<Dispatches> dispatches_ = std::make_shared<Dispatches>();
};

/// A call on the default main context once its time has come. Main thread; may be dropped from
/// inside its own call.
class DueCall {
 public:
  DueCall(GlibMainQueue& queue, std::function<void()> call);
  /// `due` is a point of CLOCK_MONOTONIC; an earlier setting is forgotten.
  void setDue(std::chrono::nanoseconds due);
  void setDueIn(std::chrono::nanoseconds delay);
  void cancel();

 private:
  SourceHandle source_;
};

/// CLOCK_MONOTONIC, which GLib's due times count in.
std::chrono::nanoseconds monotonicNow();

}  // namespace quill::freedesktop
