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

/// Utility is below the host's threads, for work without a waiting caller.
enum class Priority { utility, ordinary };

/// A queue of jobs and its thread, which is made for the first job and shares the ownership.
class JobQueue : public std::enable_shared_from_this<JobQueue> {
 public:
  using Clock = std::chrono::steady_clock;
  using Job = std::function<void()>;

  JobQueue(std::string label, Priority priority) : label_(std::move(label)), priority_(priority) {}

  void add(Job job);
  /// Waits until all jobs added so far are done. Runs them itself if no thread can be made. Returns false if all were
  /// done already.
  bool drain(Clock::time_point deadline);
  /// Whether a job of any queue runs on the calling thread.
  static bool isInJob();
  /// Ends the thread after the last job.
  void close();

  /// See SerialQueue::isDraining.
  bool isDraining() const { return done_ + 1 < awaited_; }

 private:
  /// Returns false if no thread can be made now. Both need the lock; doWaiting releases it while jobs run.
  bool ensureThread();
  void doWaiting(std::unique_lock<std::mutex>& lock);
  void run();

  const std::string label_;
  const Priority priority_;
  std::mutex mutex_;  // guards what is not atomic
  std::condition_variable wake_;
  std::condition_variable jobDone_;
  std::deque<Job> waiting_;
  std::deque<Job> running_;  // only touched by doWaiting, without the lock
  std::uint64_t added_ = 0;
  std::atomic<std::uint64_t> done_ = 0;
  std::atomic<std::uint64_t> awaited_ = 0;  // the count of jobs that drain waits for, or waited for
  std::atomic<int> waitingThreads_ = 0;
  bool hasThread_ = false;
  bool isClosed_ = false;
};

}  // namespace quill::posix
