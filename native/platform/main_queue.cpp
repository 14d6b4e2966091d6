#include "main_queue.h"

#include <future>

namespace quill {

void MainQueue::runAndWait(std::function<void()> work) {
  // A queue that is destroyed destroys the task, and that ends the wait too.
  auto task = std::make_shared<std::packaged_task<void()>>(std::move(work));
  auto finished = task->get_future();
  post([task = std::move(task)] { (*task)(); });
  try {
    finished.get();
  } catch (const std::future_error&) {  // destroyed
  }
}

std::chrono::nanoseconds nextDue(std::chrono::nanoseconds start, std::chrono::nanoseconds period,
                                 std::chrono::nanoseconds now) {
  return start + ((now - start) / period + 1) * period;
}

}  // namespace quill
