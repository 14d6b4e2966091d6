#pragma once

#include <functional>

namespace quill {

/// Runs jobs one at a time, in the order of submission.
class SerialQueue {
 public:
  virtual ~SerialQueue() = default;
  /// Any thread; does not wait for the job.
  virtual void submit(std::function<void()> job) = 0;
  /// Asked from a job: somebody waits for jobs behind this one, too, as when the process ends. What
  /// they all have to do, the last of them may do for all.
  virtual bool isDraining() const = 0;
};

}  // namespace quill
