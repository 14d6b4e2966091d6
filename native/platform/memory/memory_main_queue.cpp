#include "memory_main_queue.h"

#include <algorithm>

namespace quill::memory {

class MainQueue::Handle : public Timer {
 public:
  Handle(MainQueue& queue, std::shared_ptr<Ticking> ticking) : queue_(queue), ticking_(std::move(ticking)) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() override { queue_.timers_.remove(ticking_); }
  void invalidate() override { queue_.timers_.remove(ticking_); }

 private:
  MainQueue& queue_;
  std::shared_ptr<Ticking> ticking_;
};

void MainQueue::post(std::function<void()> work) {
  const std::lock_guard lock(mutex_);
  work_.push_back(std::move(work));
  posted_.notify_one();
}

std::unique_ptr<Timer> MainQueue::repeat(std::chrono::nanoseconds period, std::function<void()> tick) {
  auto ticking = std::make_shared<Ticking>(Ticking{now_, period, now_ + period, std::move(tick)});
  timers_.push_back(ticking);
  return std::make_unique<Handle>(*this, std::move(ticking));
}

bool MainQueue::waitAndRunOne(std::chrono::milliseconds deadline) {
  std::function<void()> work;
  {
    std::unique_lock lock(mutex_);
    if (!posted_.wait_for(lock, deadline, [this] { return !work_.empty(); })) return false;
    work = std::move(work_.front());
    work_.pop_front();
  }
  work();
  return true;
}

void MainQueue::advance(std::chrono::nanoseconds duration) {
  const auto end = now_ + duration;
  for (;;) {
    runAll();
    const auto next = std::min_element(timers_.begin(), timers_.end(),
                                       [](const auto& one, const auto& other) { return one->due < other->due; });
    if (next == timers_.end() || (*next)->due > end) break;
    const auto ticking = *next;  // its tick may end it
    now_ = std::max(now_, ticking->due);
    ticking->due = nextDue(ticking->start, ticking->period, now_);
    ticking->tick();
  }
  now_ = std::max(now_, end);
}

}  // namespace quill::memory
