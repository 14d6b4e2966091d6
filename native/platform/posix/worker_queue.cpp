#include "worker_queue.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <future>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "immortal.h"
#include "quiet_write.h"
#include "surroundings.h"

namespace quill::posix {

namespace {

using Clock = std::chrono::steady_clock;
using Job = std::function<void()>;

constexpr std::chrono::seconds kExitPatience{2};
constexpr int kNiceness = 5;  // on top of the host's
constexpr std::size_t kThreadNameLength = 15;

// When a process on its way out stops waiting for jobs; zero while it is not.
std::atomic<Clock::rep> exitDeadline{0};

// A thread made meanwhile takes none of the host's signals, but for those that report its own fault.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t blocked;
    sigfillset(&blocked);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) sigdelset(&blocked, fault);
    pthread_sigmask(SIG_SETMASK, &blocked, &before_);
  }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

void nameThread(const std::string& label) {
  pthread_setname_np(pthread_self(), label.substr(0, kThreadNameLength).c_str());
}

void becomeUtilityThread() {
  const sched_param ordinary{};
  pthread_setschedparam(pthread_self(), SCHED_OTHER, &ordinary);  // not a host's real-time thread's
  const auto thread = static_cast<id_t>(gettid());
  setpriority(PRIO_PROCESS, thread, std::min(getpriority(PRIO_PROCESS, thread) + kNiceness, 19));
}

}  // namespace

// A queue's jobs and its thread, which share the ownership.
class WorkerQueue::Work : public std::enable_shared_from_this<Work> {
 public:
  Work(std::string label, Priority priority) : label_(std::move(label)), priority_(priority) {}

  void add(Job job) {
    std::unique_lock lock(mutex_);
    waiting_.push_back(std::move(job));
    wakeWorker(std::move(lock));
  }

  // Waits until all jobs submitted before are done; does them itself where no thread can be made.
  void drain(Clock::time_point deadline) {
    // Whoever holds the lock may be a thread that never runs again.
    std::unique_lock lock(mutex_, std::defer_lock);
    while (!lock.try_lock()) {
      if (Clock::now() >= deadline) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (!hasWorker_ && waiting_.empty()) return;
    const auto mark = std::make_shared<std::promise<void>>();
    const auto done = mark->get_future();
    waiting_.emplace_back([mark] { mark->set_value(); });
    if (wakeWorker(std::move(lock))) {
      done.wait_until(deadline);
      return;
    }
    lock = std::unique_lock(mutex_);
    while (!waiting_.empty() && Clock::now() < deadline) {
      const auto job = std::move(waiting_.front());
      waiting_.pop_front();
      lock.unlock();
      job();
      lock.lock();
    }
  }

  void close() {
    std::unique_lock lock(mutex_);
    isClosed_ = true;
    if (hasWorker_ || !waiting_.empty()) wakeWorker(std::move(lock));
  }

  std::mutex& mutex() { return mutex_; }

 private:
  // Lets go of the lock. False: there is no thread, and none can be made now.
  bool wakeWorker(std::unique_lock<std::mutex> lock) {
    if (!hasWorker_) hasWorker_ = startWorker();
    const bool has = hasWorker_;
    const bool wake = std::exchange(isAsleep_, false);
    lock.unlock();
    if (wake) wake_.notify_one();
    return has;
  }

  bool startWorker() {
    const SignalsBlocked blocked;
    try {
      std::thread([self = shared_from_this()] { self->run(); }).detach();
      return true;
    } catch (const std::system_error&) {  // no room for a thread now; the next job tries again
      return false;
    }
  }

  void run() {
    nameThread(label_);
    if (priority_ == Priority::utility) becomeUtilityThread();
    std::unique_lock lock(mutex_);
    while (!waiting_.empty() || !isClosed_) {
      if (waiting_.empty()) {
        isAsleep_ = true;
        wake_.wait(lock, [this] { return !isAsleep_; });
        continue;
      }
      running_.swap(waiting_);
      lock.unlock();
      for (; !running_.empty(); running_.pop_front()) running_.front()();
      lock.lock();
    }
  }

  const std::string label_;
  const Priority priority_;
  std::mutex mutex_;  // guards what follows, up to running_
  std::condition_variable wake_;
  std::deque<Job> waiting_;
  bool hasWorker_ = false;
  bool isAsleep_ = false;
  bool isClosed_ = false;
  std::deque<Job> running_;  // the worker's alone
};

// Every queue of the process, for its exit and for fork.
class LivingQueues {
 public:
  static LivingQueues& get() {
    static const Immortal<LivingQueues> queues([] { return LivingQueues(); });
    return queues.get();
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
    std::vector<std::shared_ptr<WorkerQueue::Work>> works;
    {
      const std::lock_guard lock(mutex_);
      for (const auto* queue : queues_) works.push_back(queue->work_);
    }
    for (const auto& work : works) work->drain(deadline);
  }

  void beforeFork() {
    Surroundings::creation.lock();
    mutex_.lock();
    for (const auto* queue : queues_) queue->work_->mutex().lock();
  }

  void afterForkInParent() {
    for (const auto* queue : queues_) queue->work_->mutex().unlock();
    mutex_.unlock();
    Surroundings::creation.unlock();
  }

  // What the parent's worker was busy with may be in any state: it is set aside, untouched.
  void afterForkInChild() {
    exitDeadline = 0;
    for (auto* queue : queues_) {
      queue->work_->mutex().unlock();
      setAside_.push_back(
          std::exchange(queue->work_, std::make_shared<WorkerQueue::Work>(queue->label_, queue->priority_)));
    }
    mutex_.unlock();
    Surroundings::creation.unlock();
  }

 private:
  std::mutex mutex_;
  std::vector<WorkerQueue*> queues_;
  std::vector<std::shared_ptr<WorkerQueue::Work>> setAside_;
};

namespace {

// When the library is loaded: later, a fork could come between.
[[gnu::constructor]] void watchForks() {
  LivingQueues::get();
  pthread_atfork([] { LivingQueues::get().beforeFork(); }, [] { LivingQueues::get().afterForkInParent(); },
                 [] { LivingQueues::get().afterForkInChild(); });
}

// Runs after the host's exit handlers and static destructors, which may still log.
[[gnu::destructor]] void drainAtExit() {
  const auto deadline = Clock::now() + kExitPatience;
  exitDeadline = deadline.time_since_epoch().count();
  LivingQueues::get().drain(deadline);
}

}  // namespace

WorkerQueue::WorkerQueue(std::string label, Priority priority)
    : label_(std::move(label)), priority_(priority), work_(std::make_shared<Work>(label_, priority)) {
  LivingQueues::get().add(*this);
}

WorkerQueue::~WorkerQueue() {
  LivingQueues::get().remove(*this);
  work_->close();
}

void WorkerQueue::submit(std::function<void()> job) {
  const ErrnoKept kept;
  work_->add(std::move(job));
  if (const auto deadline = exitDeadline.load(std::memory_order_relaxed); deadline != 0) {
    work_->drain(Clock::time_point(Clock::duration(deadline)));
  }
}

}  // namespace quill::posix
