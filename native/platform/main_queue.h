#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace quill {

/// A repeating call on the main thread, which ends when the object is destroyed.
class Timer {
 public:
  virtual ~Timer() = default;
  /// No tick comes after this. May be called from a tick.
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

  /// Posts `work` and waits until it has run. What it throws is thrown here. Not from the main thread.
  void runAndWait(std::function<void()> work);
};

/// When the next tick of a timer made at `start` is due: at the first start + k × period after `now`. So a late tick
/// does not delay the following ones, and missed ticks are skipped.
std::chrono::nanoseconds nextDue(std::chrono::nanoseconds start, std::chrono::nanoseconds period,
                                 std::chrono::nanoseconds now);

}  // namespace quill
