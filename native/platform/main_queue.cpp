#include "main_queue.h"

#include <atomic>
#include <future>
#include <utility>
#include <vector>

namespace quill {
namespace {

/// Work that two may want to run: the main loop, and the thread that left it there.
class SharedWork {
 public:
  explicit SharedWork(std::function<void()> work) : work_(std::move(work)) {}
  void runOnce() {
    if (!isTaken_.test_and_set()) std::exchange(work_, nullptr)();
  }

 private:
  std::atomic_flag isTaken_;
  std::function<void()> work_;
};

/// What the calling thread left to the main thread without waiting.
thread_local std::vector<std::shared_ptr<SharedWork>> leftByThisThread;

void runWhatThisThreadLeft() {
  for (const auto& work : std::exchange(leftByThisThread, {})) work->runOnce();
}

}  // namespace

void MainQueue::enter() {
  takeCallerForMainThread();
  if (!leftByThisThread.empty() && isCurrent()) runWhatThisThreadLeft();
}

void MainQueue::run(std::function<void()> work, std::function<void()> afterwards) {
  if (isCurrent()) {
    enter();
    work();
    return afterwards();
  }
  if (!isMainThreadKnown()) {
    auto left = std::make_shared<SharedWork>([work = std::move(work), afterwards = std::move(afterwards)] {
      work();
      afterwards();
    });
    post([left] { left->runOnce(); });
    return leftByThisThread.push_back(std::move(left));
  }
  // A queue that is destroyed destroys the task, and that ends the wait too.
  auto task = std::make_shared<std::packaged_task<void()>>(std::move(work));
  auto finished = task->get_future();
  post([task = std::move(task)] { (*task)(); });
  try {
    finished.get();
  } catch (const std::future_error&) {  // destroyed
  }
  afterwards();
}

std::chrono::nanoseconds nextDue(std::chrono::nanoseconds start, std::chrono::nanoseconds period,
                                 std::chrono::nanoseconds now) {
  return start + ((now - start) / period + 1) * period;
}

}  // namespace quill
