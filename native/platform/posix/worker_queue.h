#pragma once

#include <functional>
#include <memory>
#include <string>

#include "serial_queue.h"
#include "worker.h"

namespace quill::posix {

/// A serial queue with one thread, made for the first job and asleep while there is none.
///
/// When the process exits in an orderly way, the jobs that wait are done first, for two seconds at
/// most in all; one submitted later on the way out is waited for within the same two seconds. A
/// forked child starts with an empty queue and a thread of its own.
///
/// A job that throws ends the process: there is nobody to tell.
class WorkerQueue final : public SerialQueue {
 public:
  /// `label` names the thread, as far as the system has room for it.
  WorkerQueue(std::string label, Priority priority);
  WorkerQueue(const WorkerQueue&) = delete;
  WorkerQueue& operator=(const WorkerQueue&) = delete;
  /// The jobs that wait are still done. Any thread, also the queue's own.
  ~WorkerQueue() override;

  void submit(std::function<void()> job) override;
  bool isDraining() const override;

 private:
  friend class QueueRegistry;

  std::shared_ptr<Worker> worker_;  // replaced only in a forked child, while it has one thread
};

/// Waits for what all queues of the process hold by now, for two seconds at most in all, as an exit
/// does: for a process that is about to be ended in another way. Not from a queue's job.
void drainQueues();

}  // namespace quill::posix
