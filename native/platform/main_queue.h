#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace quill {

/// A repeating call on the main thread. Destroying the object ends it.
class Timer {
 public:
  virtual ~Timer() = default;
  /// Ends the ticks. A tick may call it.
  virtual void invalidate() = 0;
};

/// The main thread's queue of work.
class MainQueue {
 public:
  virtual ~MainQueue() = default;
  /// Whether the caller is on the main thread.
  virtual bool isCurrent() const = 0;
  /// Runs `work` on the main thread, later, in the order of posting. Any thread.
  virtual void post(std::function<void()> work) = 0;
  /// Calls `tick` every `period` (see nextDue), first one period from now, also while a menu is open. Main thread.
  virtual std::unique_ptr<Timer> repeat(std::chrono::nanoseconds period, std::function<void()> tick) = 0;

  /// Posts `work`, blocks until it has run, and throws what it threw. Not to be called on the main thread.
  void runAndWait(std::function<void()> work);
};

/// The due time of a timer's next tick: the first start + k × period after `now`. Therefore a late tick does not delay
/// later ones, and missed ticks are skipped.
std::chrono::nanoseconds nextDue(std::chrono::nanoseconds start, std::chrono::nanoseconds period,
                                 std::chrono::nanoseconds now);

}  // namespace quill
