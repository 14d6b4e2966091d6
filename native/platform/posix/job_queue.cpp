#include "job_queue.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cfenv>
#include <exception>
#include <thread>
#include <utility>

#include "signal_mask.h"

namespace quill::posix {

namespace {

constexpr std::chrono::milliseconds kMutexRetry{1};

#ifdef __APPLE__
void nameThread(const std::string& label) { pthread_setname_np(label.c_str()); }

void becomeUtilityThread() { pthread_set_qos_class_self_np(QOS_CLASS_UTILITY, 0); }
#else
constexpr int kNiceness = 5;  // on top of the host's
constexpr std::size_t kThreadNameLength = 15;

void nameThread(const std::string& label) {
  pthread_setname_np(pthread_self(), label.substr(0, kThreadNameLength).c_str());
}

void becomeUtilityThread() {
  const sched_param ordinary{};
  pthread_setschedparam(pthread_self(), SCHED_OTHER, &ordinary);  // even if it was made by a real-time thread
  const auto thread = static_cast<id_t>(gettid());
  setpriority(PRIO_PROCESS, thread, std::min(getpriority(PRIO_PROCESS, thread) + kNiceness, 19));
}
#endif

/// All signals but those that report a fault of the thread itself.
sigset_t hostSignals() {
  sigset_t set;
  sigfillset(&set);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) sigdelset(&set, fault);
  return set;
}

thread_local bool isJobRunning = false;

}  // namespace

bool JobQueue::isInJob() { return isJobRunning; }

void JobQueue::add(Job job) {
  {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(job));
    ++added_;
    ensureThread();
  }
  wake_.notify_one();
}

bool JobQueue::drain(Clock::time_point deadline) {
  // Not lock(): when the process exits, the lock may be held by a thread that never runs again.
  std::unique_lock lock(mutex_, std::defer_lock);
  while (!lock.try_lock()) {
    if (Clock::now() >= deadline) return true;
    std::this_thread::sleep_for(kMutexRetry);
  }
  const auto target = added_;
  if (done_ >= target) return false;
  awaited_ = target;
  if (!ensureThread()) {
    doWaiting(lock);
    return true;
  }
  ++waitingThreads_;
  jobDone_.wait_until(lock, deadline, [&] { return done_ >= target; });
  --waitingThreads_;
  return true;
}

void JobQueue::close() {
  {
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
    if (!waiting_.empty()) ensureThread();
  }
  wake_.notify_one();
}

bool JobQueue::ensureThread() {
  if (hasThread_) return true;
  const SignalMask mask(SIG_SETMASK, hostSignals());  // inherited by the thread
  try {
    std::thread([self = shared_from_this()] { self->run(); }).detach();
    hasThread_ = true;
  } catch (const std::exception&) {  // std::system_error or std::bad_alloc; the next job tries again
  }
  return hasThread_;
}

void JobQueue::run() {
  std::fesetenv(FE_DFL_ENV);  // hosts in some languages trap floating-point exceptions, also of libraries
  nameThread(label_);
  if (priority_ == Priority::utility) becomeUtilityThread();
  std::unique_lock lock(mutex_);
  while (!waiting_.empty() || !isClosed_) {
    waiting_.empty() ? wake_.wait(lock) : doWaiting(lock);
  }
}

// Takes the lock once for all jobs, because other threads would wait for this thread, which has a low priority.
void JobQueue::doWaiting(std::unique_lock<std::mutex>& lock) {
  running_.swap(waiting_);  // a new deque would need memory
  lock.unlock();
  isJobRunning = true;
  for (auto& job : running_) {
    std::exchange(job, nullptr)();
    ++done_;
    if (waitingThreads_ == 0) continue;
    lock.lock();  // otherwise drain could miss the notification between its check and its wait
    jobDone_.notify_all();
    lock.unlock();
  }
  isJobRunning = false;
  running_.clear();
  lock.lock();
}

}  // namespace quill::posix
