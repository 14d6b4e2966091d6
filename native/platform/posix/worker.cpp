#include "worker.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>
#include <thread>
#include <utility>

#include "signal_mask.h"

namespace quill::posix {

namespace {

constexpr int kNiceness = 5;  // on top of the host's
constexpr std::size_t kThreadNameLength = 15;
constexpr std::chrono::milliseconds kLockRetry{1};

void nameThread(const std::string& label) {
  pthread_setname_np(pthread_self(), label.substr(0, kThreadNameLength).c_str());
}

void becomeUtilityThread() {
  const sched_param ordinary{};
  pthread_setschedparam(pthread_self(), SCHED_OTHER, &ordinary);  // not a host's real-time thread's
  const auto thread = static_cast<id_t>(gettid());
  setpriority(PRIO_PROCESS, thread, std::min(getpriority(PRIO_PROCESS, thread) + kNiceness, 19));
}

/// All but those that report a thread's own fault.
sigset_t hostSignals() {
  sigset_t set;
  sigfillset(&set);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) sigdelset(&set, fault);
  return set;
}

}  // namespace

void Worker::add(Job job) {
  {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(job));
    ++added_;
    ensureThread();
  }
  wake_.notify_one();
}

void Worker::drain(Clock::time_point deadline) {
  // Whoever holds the lock may be a thread that never runs again.
  std::unique_lock lock(mutex_, std::defer_lock);
  while (!lock.try_lock()) {
    if (Clock::now() >= deadline) return;
    std::this_thread::sleep_for(kLockRetry);
  }
  const auto target = added_;
  if (done_ >= target) return;
  awaited_ = target;
  if (!ensureThread()) return doWaiting(lock);
  ++waitingThreads_;
  jobDone_.wait_until(lock, deadline, [&] { return done_ >= target; });
  --waitingThreads_;
}

void Worker::close() {
  {
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
    if (!waiting_.empty()) ensureThread();
  }
  wake_.notify_one();
}

bool Worker::ensureThread() {
  if (hasThread_) return true;
  const SignalMask mask(SIG_SETMASK, hostSignals());  // the thread takes none of the host's signals
  try {
    std::thread([self = shared_from_this()] { self->run(); }).detach();
    hasThread_ = true;
  } catch (const std::system_error&) {  // no room for a thread now; the next job tries again
  }
  return hasThread_;
}

void Worker::run() {
  nameThread(label_);
  if (priority_ == Priority::utility) becomeUtilityThread();
  std::unique_lock lock(mutex_);
  while (!waiting_.empty() || !isClosed_) {
    waiting_.empty() ? wake_.wait(lock) : doWaiting(lock);
  }
}

// Takes the lock for all of them once: a thread at low priority that holds it makes others wait.
void Worker::doWaiting(std::unique_lock<std::mutex>& lock) {
  auto jobs = std::exchange(waiting_, {});
  lock.unlock();
  for (auto& job : jobs) {
    std::exchange(job, nullptr)();
    ++done_;
    if (waitingThreads_ == 0) continue;
    lock.lock();  // else it could come between a thread's last look and its wait
    jobDone_.notify_all();
    lock.unlock();
  }
  lock.lock();
}

}  // namespace quill::posix
