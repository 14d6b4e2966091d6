#pragma once

#include <algorithm>
#include <chrono>

namespace quill::freedesktop {

/// Delays between attempts, each twice the one before.
class Backoff {
 public:
  constexpr Backoff(std::chrono::milliseconds first, std::chrono::milliseconds longest)
      : first_(first), longest_(longest), next_(first) {}

  std::chrono::milliseconds next() {
    const auto delay = next_;
    next_ = std::min(next_ * 2, longest_);
    return delay;
  }
  void reset() { next_ = first_; }

 private:
  std::chrono::milliseconds first_;
  std::chrono::milliseconds longest_;
  std::chrono::milliseconds next_;
};

}  // namespace quill::freedesktop
