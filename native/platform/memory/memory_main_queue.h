#pragma once

#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <thread>

#include "main_queue.h"

namespace quill::memory {

/// A main queue driven by hand: nothing runs and no time passes unless told. The thread that makes
/// it is the main thread.
class MainQueue : public quill::MainQueue {
 public:
  bool isCurrent() const override { return std::this_thread::get_id() == mainThread_; }
  void post(std::function<void()> work) override;
  std::unique_ptr<Timer> repeat(std::chrono::nanoseconds period, std::function<void()> tick) override;

  /// Runs the oldest posted work; false: there was none.
  bool runOne();
  /// Runs posted work, also what it posts itself, until there is none.
  void runAll();
  /// Waits for the next posted work of another thread and runs it; false: none came by the deadline.
  bool waitAndRunOne(std::chrono::milliseconds deadline = std::chrono::seconds(10));
  /// Lets time pass while the main loop runs: timers fire when they are due.
  void advance(std::chrono::nanoseconds duration);
  /// Lets time pass while the main thread is busy: what falls due waits.
  void stall(std::chrono::nanoseconds duration) { now_ += duration; }
  std::chrono::nanoseconds now() const { return now_; }
  /// Timers that would still fire.
  std::size_t timers() const { return timers_.size(); }

 private:
  struct Ticking {
    std::chrono::nanoseconds start, period, due;
    std::function<void()> tick;
  };
  class Handle;

  static inline const std::thread::id mainThread_ = std::this_thread::get_id();  // the process's first thread
  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> work_;
  std::chrono::nanoseconds now_{0};
  std::list<std::shared_ptr<Ticking>> timers_;
};

}  // namespace quill::memory
