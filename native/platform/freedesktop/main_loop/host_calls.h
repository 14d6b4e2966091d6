#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>

#include "glib_main_queue.h"

namespace quill::freedesktop {

/// Calls of the host's callbacks that wait. The main loop makes one call in each iteration. The calls outlive the
/// status item that caused them, because the host may replace the item in the meantime. Main thread.
class HostCalls : public std::enable_shared_from_this<HostCalls> {
 public:
  /// The limit for waiting calls, because a user causes one at a time.
  static constexpr std::size_t kMaxWaiting = 1024;
  /// A callback may run a main loop, which makes the next call inside of the callback. At this depth the calls wait.
  static constexpr int kMaxDepth = 16;

  explicit HostCalls(GlibMainQueue& queue) : queue_(queue) {}
  HostCalls(const HostCalls&) = delete;
  HostCalls& operator=(const HostCalls&) = delete;

  bool canTake(std::size_t calls) const { return waiting_.size() + calls <= kMaxWaiting; }
  void add(std::function<void()> call);

 private:
  void postNext();
  void makeNext();

  GlibMainQueue& queue_;
  std::deque<std::function<void()>> waiting_;
  bool isPosted_ = false;
  int depth_ = 0;
};

}  // namespace quill::freedesktop
