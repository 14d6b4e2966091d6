#include <thread>

#include "main_loop.h"

namespace quill::tests {

struct OnAppKit {
  appkit::Desktop desktop;
  MainQueue& queue = desktop.mainQueue();
  std::weak_ptr<StatusItem> item;

  OnAppKit() {
    desktop.mainQueue().repeat(std::chrono::hours(1), [] {});
  }  // the first one takes a while to make

  std::chrono::nanoseconds now() { return std::chrono::steady_clock::now().time_since_epoch(); }
  void stall(std::chrono::nanoseconds duration) { std::this_thread::sleep_for(duration); }
  bool runUntil(const std::function<bool()>& done) { return quill::runUntil(done); }

  std::shared_ptr<StatusItem> show() {
    const auto shown = desktop.makeStatusItem(kSquareStatusItemLength);
    item = shown;
    return shown;
  }
  bool hasIcon() {
    settle();
    NSStatusBarButton* const button = [standin::newestItem button];
    return [button image] != nil && ![button isHidden] && [[button window] isVisible];
  }
  bool has(const std::string& title) {
    choose("");
    return std::count(standin::titles.begin(), standin::titles.end(), title) > 0;
  }
  void click() {
    settle();
    [[standin::newestItem button] performClick:nil];
  }
  void choose(const std::string& title) {
    settle();
    standin::choice = title;
    const auto shown = item.lock();
    @autoreleasepool {
      shown->popUp(*shown->announcedMenu(), {});
    }
  }
  bool isEmpty() {
    @autoreleasepool {
      settle();
    }
    return standin::newestItem == nil;
  }
};
using Drivers = Types<OnAppKit>;

}  // namespace quill::tests

#include "desktop_contract.h"
