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

  /// Treats the calling thread as the main thread, unless another thread runs the main loop, and runs the work that the
  /// caller left to the main thread. Some functions may be called on the main thread alone, so such a call identifies
  /// it.
  void enter();
  /// Runs `work` on the main thread, then `afterwards` on the calling thread, and returns. Throws what they throw. Any
  /// thread.
  ///
  /// While no main thread is known, the caller may be about to run the main loop, so this function does not wait. Both
  /// then run on the main thread later, before anything else that the caller does there.
  void run(std::function<void()> work, std::function<void()> afterwards);

 protected:
  /// The part of enter() for a desktop that does not know its main thread beforehand.
  virtual void takeCallerForMainThread() {}
  /// Whether some thread is known to be the main thread. Any thread.
  virtual bool isMainThreadKnown() const { return true; }
};

/// The due time of a timer's next tick: the first start + k × period after `now`. Therefore a late tick does not delay
/// later ones, and missed ticks are skipped.
std::chrono::nanoseconds nextDue(std::chrono::nanoseconds start, std::chrono::nanoseconds period,
                                 std::chrono::nanoseconds now);

}  // namespace quill
