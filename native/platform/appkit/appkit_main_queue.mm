#include <dispatch/dispatch.h>

#include "appkit_desktop.h"

namespace quill::appkit {
namespace {

using Work = std::function<void()>;

class RunLoopTimer : public Timer {
 public:
  explicit RunLoopTimer(NSTimer* timer) : timer_(timer) {}
  ~RunLoopTimer() override { RunLoopTimer::invalidate(); }

  void invalidate() override {
    guarded([this] { [timer_.get() invalidate]; });
  }

 private:
  Handle<NSTimer> timer_;
};

}  // namespace

bool MainQueue::isCurrent() const { return [NSThread isMainThread] != NO; }

void MainQueue::post(std::function<void()> work) {
  auto owned = std::make_unique<Work>(std::move(work));
  dispatch_async_f(dispatch_get_main_queue(), owned.release(), [](void* posted) {
    const std::unique_ptr<Work> run(static_cast<Work*>(posted));
    guarded([&run] { (*run)(); });
  });
}

std::unique_ptr<Timer> MainQueue::repeat(std::chrono::nanoseconds period, std::function<void()> tick) {
  std::unique_ptr<Timer> timer;
  guarded([&] {
    const auto target = Handle<QuillTrayManager>::adopt([[QuillTrayManager alloc] initWithTick:std::move(tick)]);
    NSTimer* const made = [NSTimer timerWithTimeInterval:std::chrono::duration<double>(period).count()
                                                  target:target.get()
                                                selector:@selector(updateAnimation)
                                                userInfo:nil
                                                 repeats:YES];
    timer = std::make_unique<RunLoopTimer>(made);
    // The common modes go on while a menu is open.
    [[NSRunLoop mainRunLoop] addTimer:made forMode:NSRunLoopCommonModes];
  });
  return timer;
}

}  // namespace quill::appkit
