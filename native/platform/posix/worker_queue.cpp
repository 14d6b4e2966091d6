#include "worker_queue.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <utility>
#include <vector>

#include "errno_saver.h"
#include "forked_child.h"
#include "no_destructor.h"

namespace quill::posix {

namespace {

using Clock = Worker::Clock;

constexpr std::chrono::seconds kExitTimeout{2};

// A URL's job may submit a job for its application to a new queue, and that job may log a line.
constexpr int kRounds = 3;

// Until when an exiting process waits for jobs; zero before it exits.
std::atomic<Clock::rep> exitDeadline{0};

}  // namespace

/// All queues of the process, for its exit.
class QueueRegistry {
 public:
  static QueueRegistry& get() {
    static NoDestructor<QueueRegistry> registry;
    return registry.get();
  }

  void add(WorkerQueue& queue) {
    const std::lock_guard lock(mutex_);
    queues_.push_back(&queue);
  }

  void remove(WorkerQueue& queue) {
    const std::lock_guard lock(mutex_);
    std::erase(queues_, &queue);
  }

  void drain(Clock::time_point deadline) {
    bool isBusy = true;
    for (int round = 0; isBusy && round < kRounds; ++round) {
      isBusy = false;
      for (const auto& worker : workers()) isBusy |= worker->drain(deadline);
    }
  }

 private:
  std::vector<std::shared_ptr<Worker>> workers() {
    const std::lock_guard lock(mutex_);
    std::vector<std::shared_ptr<Worker>> workers;
    for (const auto* queue : queues_) workers.push_back(queue->worker_);
    return workers;
  }

  std::mutex mutex_;
  std::vector<WorkerQueue*> queues_;
};

namespace {

// After the host's exit handlers and static destructors, which may still log.
[[gnu::destructor]] void drainAtExit() {
  if (isForkedChild()) return;
  const auto deadline = Clock::now() + kExitTimeout;
  exitDeadline = deadline.time_since_epoch().count();
  QueueRegistry::get().drain(deadline);
}

}  // namespace

WorkerQueue::WorkerQueue(std::string label, Priority priority)
    : worker_(std::make_shared<Worker>(std::move(label), priority)) {
  QueueRegistry::get().add(*this);
}

WorkerQueue::~WorkerQueue() {
  QueueRegistry::get().remove(*this);
  worker_->close();
}

void WorkerQueue::submit(std::function<void()> job) {
  const ErrnoSaver saver;
  worker_->add(std::move(job));
  const auto deadline = exitDeadline.load(std::memory_order_relaxed);
  // A job does not wait: the thread that waits for the job waits for this one as well.
  if (deadline == 0 || Worker::isInJob()) return;
  QueueRegistry::get().drain(Clock::time_point(Clock::duration(deadline)));
}

bool WorkerQueue::isDraining() const {
  if (worker_->isDraining()) return true;
  // Late in an exit there may be no time for flushing.
  const Clock::time_point deadline(Clock::duration(exitDeadline.load(std::memory_order_relaxed)));
  return deadline != Clock::time_point() && Clock::now() > deadline - kExitTimeout / 2;
}

void drainQueues() { QueueRegistry::get().drain(Clock::now() + kExitTimeout); }

}  // namespace quill::posix
