#pragma once

#include <functional>
#include <memory>
#include <string>

#include "environment.h"
#include "job_queue.h"

namespace quill::posix {

/// A serial queue with one thread. The first job makes the thread; the thread sleeps while there is no job.
///
/// An orderly exit of the process first runs the remaining jobs and those submitted during the exit, for at most two
/// seconds in all. A job that throws ends the process.
class ProcessQueue final : public SerialQueue {
 public:
  /// The thread's name is the beginning of `label`.
  ProcessQueue(std::string label, Priority priority);
  ProcessQueue(const ProcessQueue&) = delete;
  ProcessQueue& operator=(const ProcessQueue&) = delete;
  /// Remaining jobs are still done. Any thread, also the queue's own.
  ~ProcessQueue() override;

  void submit(std::function<void()> job) override;
  bool isDraining() const override;

 private:
  const std::shared_ptr<JobQueue> jobs_;
};

/// Sets the function that an orderly exit of the process calls before it waits for the queues.
void cleanUpAtExit(void (*work)());

/// Waits for the present jobs of all queues, for at most two seconds in all. For a process that is about to end without
/// an orderly exit. Never call it from a job.
void drainQueues();

}  // namespace quill::posix
