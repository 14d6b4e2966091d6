#include <thread>

#include "main_loop.h"

namespace quill::tests {

struct OnAppKit {
  appkit::Desktop desktop;
  MainQueue& queue = desktop.mainQueue();
  std::weak_ptr<StatusItem> item;

  OnAppKit() {
    standin::install();
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
    return [button image] != nil && ![button isHidden] && standin::isVisible;
  }
  void rightClick(const std::function<void(NSMenu*)>& user) {
    settle();
    standin::user = user;
    @autoreleasepool {
      item.lock()->popUp(*item.lock()->announcedMenu(), {});
    }
  }
  bool has(const std::string& title) {
    bool isThere = false;
    rightClick([&](NSMenu* menu) { isThere = Value(standin::itemsOf(menu), Contains(title)); });
    return isThere;
  }
  void click() {
    settle();
    standin::click(NSLeftMouseUp);
  }
  void choose(const std::string& title) {
    rightClick([&](NSMenu* menu) { standin::choose(menu, title); });
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
