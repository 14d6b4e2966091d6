#include "main_queue.h"

#include <future>

namespace quill {

void MainQueue::runAndWait(std::function<void()> work) {
  // A queue that drops the work instead of running it destroys the promise, which ends the wait too.
  auto done = std::make_shared<std::promise<void>>();
  const auto finished = done->get_future();
  post([work = std::move(work), done = std::move(done)] {
    work();
    done->set_value();
  });
  finished.wait();
}

std::chrono::nanoseconds nextDue(std::chrono::nanoseconds start, std::chrono::nanoseconds period,
                                 std::chrono::nanoseconds now) {
  if (now < start) return start + period;
  return start + ((now - start) / period + 1) * period;
}

}  // namespace quill
