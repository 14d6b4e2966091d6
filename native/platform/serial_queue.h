#pragma once

#include <functional>

namespace quill {

/// Runs jobs one at a time, in the order of submission.
class SerialQueue {
 public:
  virtual ~SerialQueue() = default;
  /// Any thread; does not wait for the job.
  virtual void submit(std::function<void()> job) = 0;
};

}  // namespace quill
