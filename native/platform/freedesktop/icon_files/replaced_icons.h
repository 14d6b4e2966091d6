#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <utility>

#include "glib_main_queue.h"
#include "icon_folder.h"

namespace quill::freedesktop {

/// Keeps the files of replaced icons for a second, because a panel may read an icon's name before the replacement and
/// open the file after it. Main thread.
class ReplacedIcons {
 public:
  explicit ReplacedIcons(GlibMainQueue& queue) : timer_(queue, [this] { dropDue(); }) {}

  /// Null: nothing to keep.
  void keep(std::shared_ptr<const IconFile> file) {
    if (!file) return;
    if (kept_.size() == kMaxFiles) kept_.pop_front();
    kept_.push_back({monotonicNow() + kTime, std::move(file)});
    if (kept_.size() == 1) timer_.setDue(kept_.front().due);
  }

 private:
  struct Kept {
    std::chrono::nanoseconds due;  ///< of CLOCK_MONOTONIC
    std::shared_ptr<const IconFile> file;
  };
  static constexpr std::chrono::seconds kTime{1};
  static constexpr std::size_t kMaxFiles = 256;

  void dropDue() {
    while (!kept_.empty() && kept_.front().due <= monotonicNow()) kept_.pop_front();
    if (!kept_.empty()) timer_.setDue(kept_.front().due);
  }

  std::deque<Kept> kept_;  ///< the oldest first
  OneShotTimer timer_;
};

}  // namespace quill::freedesktop
