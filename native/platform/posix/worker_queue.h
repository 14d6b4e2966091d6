#pragma once

#include <functional>
#include <memory>
#include <string>

#include "serial_queue.h"

namespace quill::posix {

/// A serial queue with one thread, at lowered priority, made for the first job and asleep while
/// there is none.
///
/// When the process exits in an orderly way, the jobs that wait are done first, for two seconds at
/// most in all; one submitted later on the way out is waited for within the same two seconds. A
/// forked child starts with an empty queue and a thread of its own.
///
/// A job that throws ends the process: there is nobody to tell.
class WorkerQueue final : public SerialQueue {
 public:
  /// `label` names the thread, as far as the system has room for it.
  explicit WorkerQueue(std::string label);
  WorkerQueue(const WorkerQueue&) = delete;
  WorkerQueue& operator=(const WorkerQueue&) = delete;
  /// The jobs that wait are still done. Any thread, also the queue's own.
  ~WorkerQueue() override;

  void submit(std::function<void()> job) override;

 private:
  friend class LivingQueues;
  class Work;

  const std::string label_;
  std::shared_ptr<Work> work_;  // replaced only in a forked child, while it has one thread
};

}  // namespace quill::posix
