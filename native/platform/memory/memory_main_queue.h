#pragma once

#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <thread>

#include "main_queue.h"

namespace quill::memory {

/// A main queue driven by hand, for tests: nothing runs and no time passes unless told. The process's first thread is
/// the main thread.
class MainQueue : public quill::MainQueue {
 public:
  bool isCurrent() const override { return std::this_thread::get_id() == mainThread_; }
  void post(std::function<void()> work) override;
  std::unique_ptr<Timer> repeat(std::chrono::nanoseconds period, std::function<void()> tick) override;

  /// Runs posted work, and what that posts, until there is none.
  void runAll() {
    while (waitAndRunOne(std::chrono::milliseconds(0))) continue;
  }
  /// Waits for posted work and runs one piece of it; false if none came by the deadline.
  bool waitAndRunOne(std::chrono::milliseconds deadline = std::chrono::seconds(10));
  /// Lets time pass while the main loop runs.
  void advance(std::chrono::nanoseconds duration);
  /// Lets time pass while the main thread is busy, so that timers fire late.
  void stall(std::chrono::nanoseconds duration) { now_ += duration; }
  std::chrono::nanoseconds now() const { return now_; }
  /// Timers that were not invalidated.
  std::size_t timers() const { return timers_.size(); }

 private:
  struct Ticking {
    std::chrono::nanoseconds start, period, due;
    std::function<void()> tick;
  };
  class Handle;

  static inline const std::thread::id mainThread_ = std::this_thread::get_id();
  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> work_;
  std::chrono::nanoseconds now_{0};
  std::list<std::shared_ptr<Ticking>> timers_;
};

}  // namespace quill::memory
