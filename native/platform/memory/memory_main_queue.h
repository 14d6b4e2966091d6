#pragma once

#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <thread>

#include "main_queue.h"

namespace quill::memory {

/// A main queue that tests drive by hand. Nothing runs and no time passes by itself. The process's first thread is the
/// main thread.
class MainQueue : public quill::MainQueue {
 public:
  bool isCurrent() const override { return std::this_thread::get_id() == mainThread_; }
  void post(std::function<void()> work) override;
  std::unique_ptr<Timer> repeat(std::chrono::nanoseconds period, std::function<void()> tick) override;

  /// Runs posted work, and the work which that posts, until none is left.
  void runAll() {
    while (waitAndRunOne(std::chrono::milliseconds(0))) continue;
  }
  /// Waits for posted work and runs one piece of it. False if none was posted before the deadline.
  bool waitAndRunOne(std::chrono::milliseconds deadline = std::chrono::seconds(10));
  /// Advances the time while the main loop runs.
  void advance(std::chrono::nanoseconds duration);
  /// Advances the time while the main thread is busy, so that timers fire late.
  void stall(std::chrono::nanoseconds duration) { now_ += duration; }
  std::chrono::nanoseconds now() const { return now_; }
  /// The number of timers that are not invalidated.
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
