#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace quill {

/// A repeating call on the main thread; it ends with the object at the latest.
class Timer {
 public:
  virtual ~Timer() = default;
  /// Ends it for good: no tick comes after this. Also from inside its own tick.
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
  /// Calls `tick` every `period`, first one period from now, also while a menu is open. Main thread.
  /// Ticks lie on the grid start + k × period (see nextDue).
  virtual std::unique_ptr<Timer> repeat(std::chrono::nanoseconds period, std::function<void()> tick) = 0;

  /// Posts `work` and waits until it has run; what it throws is thrown here. Not from the main thread.
  void runAndWait(std::function<void()> work);
};

/// The first point of the grid start + k × period (k = 1, 2, …) that lies after `now`: a late tick
/// does not move the ones after it, and ticks that were missed are not made up.
std::chrono::nanoseconds nextDue(std::chrono::nanoseconds start, std::chrono::nanoseconds period,
                                 std::chrono::nanoseconds now);

}  // namespace quill
