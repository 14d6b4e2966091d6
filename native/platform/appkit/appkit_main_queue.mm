#include "appkit_desktop.h"

namespace quill::appkit {
namespace {

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
  guarded([&] {
    const auto target = Handle<QuillTrayManager>::adopt([[QuillTrayManager alloc] initWithWork:std::move(work)]);
    // The common modes include the modes of menus and modal dialogs. The main dispatch queue is not used, because a run
    // loop that a host starts inside a block of that queue does not drain the queue: __CFRunLoopRun() in CFRunLoop.c of
    // https://github.com/swiftlang/swift-corelibs-foundation tests __CFTSDKeyIsInGCDMainQ.
    [target.get() performSelectorOnMainThread:@selector(updateAnimation) withObject:nil waitUntilDone:NO];
  });
}

std::unique_ptr<Timer> MainQueue::repeat(std::chrono::nanoseconds period, std::function<void()> tick) {
  std::unique_ptr<Timer> timer;
  guarded([&] {
    const auto target = Handle<QuillTrayManager>::adopt([[QuillTrayManager alloc] initWithWork:std::move(tick)]);
    NSTimer* const made = [NSTimer timerWithTimeInterval:std::chrono::duration<double>(period).count()
                                                  target:target.get()
                                                selector:@selector(updateAnimation)
                                                userInfo:nil
                                                 repeats:YES];
    timer = std::make_unique<RunLoopTimer>(made);
    [[NSRunLoop mainRunLoop] addTimer:made forMode:NSRunLoopCommonModes];
  });
  return timer;
}

}  // namespace quill::appkit
