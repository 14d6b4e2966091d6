#include "process_queue.h"

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

using Clock = JobQueue::Clock;

constexpr std::chrono::seconds kExitTimeout{2};

// A URL's job may submit a job for its application to a new queue, and that job may log a line.
constexpr int kRounds = 3;

// The time up to which an exiting process waits for jobs; zero before it exits.
std::atomic<Clock::rep> exitDeadline{0};

std::atomic<void (*)()> cleanUp{nullptr};

/// All queues of the process, for its exit.
class QueueRegistry {
 public:
  static QueueRegistry& get() {
    static NoDestructor<QueueRegistry> registry;
    return registry.get();
  }

  void add(const std::shared_ptr<JobQueue>& jobs) {
    const std::lock_guard lock(mutex_);
    std::erase_if(queues_, [](const auto& known) { return known.expired(); });
    queues_.push_back(jobs);
  }

  void drain(Clock::time_point deadline) {
    bool isBusy = true;
    for (int round = 0; isBusy && round < kRounds; ++round) {
      isBusy = false;
      for (const auto& jobs : jobQueues()) isBusy |= jobs->drain(deadline);
    }
  }

 private:
  std::vector<std::shared_ptr<JobQueue>> jobQueues() {
    const std::lock_guard lock(mutex_);
    std::vector<std::shared_ptr<JobQueue>> all;
    for (const auto& known : queues_) {
      if (auto jobs = known.lock()) all.push_back(std::move(jobs));
    }
    return all;
  }

  std::mutex mutex_;
  std::vector<std::weak_ptr<JobQueue>> queues_;
};

/// All that an orderly exit of the process does. It follows the host's exit handlers and static destructors, which may
/// still log.
[[gnu::destructor]] void leaveProcess() {
  if (isForkedChild()) return;
  if (auto* const work = cleanUp.load()) work();
  const auto deadline = Clock::now() + kExitTimeout;
  exitDeadline = deadline.time_since_epoch().count();
  QueueRegistry::get().drain(deadline);
}

}  // namespace

ProcessQueue::ProcessQueue(std::string label, Priority priority)
    : jobs_(std::make_shared<JobQueue>(std::move(label), priority)) {
  QueueRegistry::get().add(jobs_);
}

ProcessQueue::~ProcessQueue() { jobs_->close(); }

void ProcessQueue::submit(std::function<void()> job) {
  const ErrnoSaver saver;
  jobs_->add(std::move(job));
  const auto deadline = exitDeadline.load(std::memory_order_relaxed);
  // A job does not wait: the thread that waits for the job waits for this one as well.
  if (deadline == 0 || JobQueue::isInJob()) return;
  QueueRegistry::get().drain(Clock::time_point(Clock::duration(deadline)));
}

bool ProcessQueue::isDraining() const {
  if (jobs_->isDraining()) return true;
  // Late in an exit there may be no time for flushing.
  const Clock::time_point deadline(Clock::duration(exitDeadline.load(std::memory_order_relaxed)));
  return deadline != Clock::time_point() && Clock::now() > deadline - kExitTimeout / 2;
}

void cleanUpAtExit(void (*work)()) { cleanUp = work; }

void drainQueues() { QueueRegistry::get().drain(Clock::now() + kExitTimeout); }

}  // namespace quill::posix
