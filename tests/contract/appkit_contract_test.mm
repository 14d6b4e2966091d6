#include <thread>

#include "main_loop.h"

namespace quill::tests {

struct OnAppKit {
  appkit::Desktop desktop;
  MainQueue& queue = desktop.mainQueue();
  std::weak_ptr<StatusItem> item;

  OnAppKit() { standin::install(); }

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
  void open(const std::function<void(NSMenu*)>& user) {
    settle();
    standin::user = user;
    item.lock()->popUp(*item.lock()->announcedMenu(), {});
  }
  bool has(const std::string& title) {
    bool isThere = false;
    open([&](NSMenu* menu) { isThere = [menu indexOfItemWithTitle:appkit::toNSString(title)] >= 0; });
    return isThere;
  }
  void choose(const std::string& title) {
    open([&](NSMenu* menu) { standin::choose(menu, title.c_str()); });
  }
  void click() {
    settle();
    standin::click(NSLeftMouseUp);
  }
  bool isEmpty() {
    settle();
    return standin::newestItem == nil;
  }
};
using Drivers = Types<OnAppKit>;

}  // namespace quill::tests

#include "desktop_contract.h"
