#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace quill::posix {

/// Utility: below the host's threads, for work that nobody waits for.
enum class Priority { utility, ordinary };

/// Jobs in their order and the thread that does them, made for the first one; the two share the ownership.
class Worker : public std::enable_shared_from_this<Worker> {
 public:
  using Clock = std::chrono::steady_clock;
  using Job = std::function<void()>;

  Worker(std::string label, Priority priority) : label_(std::move(label)), priority_(priority) {}
  /// The same without a job or a thread.
  std::shared_ptr<Worker> fresh() const { return std::make_shared<Worker>(label_, priority_); }

  void add(Job job);
  /// Waits until all jobs added before are done; does them itself where no thread can be made.
  void drain(Clock::time_point deadline);
  /// The thread ends once no job is left.
  void close();

  /// Asked from a job: whether somebody waits for jobs behind it.
  bool isDraining() const { return done_ + 1 < awaited_; }

  /// Held by a fork.
  std::mutex& mutex() { return mutex_; }

 private:
  /// False: there is no thread, and none can be made now. With the lock held.
  bool ensureThread();
  void run();
  void doWaiting(std::unique_lock<std::mutex>& lock);

  const std::string label_;
  const Priority priority_;
  std::mutex mutex_;  // guards what is not atomic
  std::condition_variable wake_;
  std::condition_variable jobDone_;
  std::deque<Job> waiting_;
  std::uint64_t added_ = 0;
  std::atomic<std::uint64_t> done_ = 0;
  std::atomic<std::uint64_t> awaited_ = 0;  // somebody waits, or did, until so many are done
  std::atomic<int> waitingThreads_ = 0;
  bool hasThread_ = false;
  bool isClosed_ = false;
};

}  // namespace quill::posix
