#include "memory_desktop.h"
#include "panel_fixture.h"

namespace quill::tests {

using std::chrono::nanoseconds;

struct OnMemory {
  memory::Desktop desktop;
  memory::MainQueue& queue = desktop.mainQueue();

  nanoseconds now() { return queue.now(); }
  void stall(nanoseconds duration) { queue.stall(duration); }
  bool runUntil(const std::function<bool()>& done) {
    for (const auto deadline = now() + 10s; !done() && now() < deadline;)
      if (!queue.waitAndRunOne(1ms)) queue.advance(1ms);
    return done();
  }

  std::shared_ptr<StatusItem> show() { return desktop.makeStatusItem(kSquareStatusItemLength); }
  bool hasIcon() { return queue.runAll(), !desktop.shown.empty() && desktop.shown.back().image; }
  bool has(const std::string& title) {
    return Value(desktop.statusItem()->announcedMenu()->items(), Contains(Pointee(Field(&MenuItem::title, title))));
  }
  void click() { desktop.click(); }
  void choose(const std::string& title) { desktop.choose(title); }
  bool isEmpty() { return desktop.statusItemsInBar == 0; }
};

struct OnFreedesktop {
  PrivateBus bus;
  freedesktop::Desktop desktop;
  MainQueue& queue = desktop.mainQueue();
  std::unique_ptr<freedesktop::Peer> panel;

  nanoseconds now() { return freedesktop::monotonicNow(); }
  void stall(nanoseconds duration) { std::this_thread::sleep_for(duration); }
  bool runUntil(const std::function<bool()>& done) { return freedesktop::runUntil(done); }

  std::shared_ptr<StatusItem> show() {
    bus.start();
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    panel = std::make_unique<freedesktop::Peer>(bus);
    auto item = desktop.makeStatusItem(kSquareStatusItemLength);
    EXPECT_TRUE(panel->waitForItem());
    return item;
  }
  bool hasIcon() {
    panel->takeSignals();
    return panel->get("Status") == "(<'Active'>,)" && panel->get("IconPixmap").find("[(") != std::string::npos;
  }
  std::string menu() { return panel->takeSignals(), panel->menu(); }
  bool has(const std::string& title) { return menu().find("<'" + title + "'>") != std::string::npos; }
  void click() { panel->call(freedesktop::kItem, "Activate", "(0, 0)"), panel->takeSignals(); }
  void choose(const std::string& title) {
    const auto shown = menu();
    const auto entry = shown.rfind('(', shown.find("<'" + title + "'>"));  // its id is first
    panel->choose(std::stoi(shown.substr(entry + 1)));
    panel->takeSignals();
  }
  bool isEmpty() { return panel->menu() == "error"; }
};

using Drivers = Types<OnMemory, OnFreedesktop>;

}  // namespace quill::tests

#include "desktop_contract.h"
