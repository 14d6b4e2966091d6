#pragma once

#include <functional>
#include <memory>
#include <string>

#include "environment.h"
#include "worker.h"

namespace quill::posix {

/// A serial queue with one thread, made for the first job and asleep without one.
///
/// An orderly exit of the process does the remaining jobs first, also those that are submitted during the
/// exit, for two seconds at most in all. A job that throws ends the process.
class WorkerQueue final : public SerialQueue {
 public:
  /// The thread's name is the beginning of `label`.
  WorkerQueue(std::string label, Priority priority);
  WorkerQueue(const WorkerQueue&) = delete;
  WorkerQueue& operator=(const WorkerQueue&) = delete;
  /// Remaining jobs are still done. Any thread, also the queue's own.
  ~WorkerQueue() override;

  void submit(std::function<void()> job) override;
  bool isDraining() const override;

 private:
  friend class QueueRegistry;

  const std::shared_ptr<Worker> worker_;
};

/// Waits for the present jobs of all queues, for two seconds at most in all: for a process that is about to end
/// without an orderly exit. Not from a queue's job.
void drainQueues();

}  // namespace quill::posix
