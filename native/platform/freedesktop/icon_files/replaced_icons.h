#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>

#include "glib_main_queue.h"
#include "icon_folder.h"

namespace quill::freedesktop {

/// The files of icons that were on show until a moment ago: a panel may have read an icon's name and look for the file
/// only then. Main thread.
class ReplacedIcons {
 public:
  explicit ReplacedIcons(GlibMainQueue& queue);

  /// Keeps a file for a second; null: nothing to keep.
  void keep(std::shared_ptr<const IconFile> file);

 private:
  struct Kept {
    std::chrono::nanoseconds due;  ///< a point of CLOCK_MONOTONIC
    std::shared_ptr<const IconFile> file;
  };
  static constexpr std::chrono::seconds kTime{1};
  static constexpr std::size_t kMaxFiles = 256;

  void dropDue();

  std::deque<Kept> kept_;  ///< the oldest first
  DueCall timer_;
};

}  // namespace quill::freedesktop
