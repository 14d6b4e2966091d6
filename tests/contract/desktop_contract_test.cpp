#include <algorithm>

#include "memory_desktop.h"
#include "panel_fixture.h"

namespace quill {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr milliseconds kDeadline{10'000};

struct OnMemory {
  memory::Desktop desktop;

  nanoseconds now() { return desktop.mainQueue().now(); }
  void stall(nanoseconds duration) { desktop.mainQueue().stall(duration); }
  bool runUntil(const std::function<bool()>& done) {
    const auto deadline = now() + kDeadline;
    while (!done() && now() < deadline) {
      if (!desktop.mainQueue().waitAndRunOne(milliseconds(1))) desktop.mainQueue().advance(milliseconds(1));
    }
    return done();
  }

  std::shared_ptr<StatusItem> show() { return desktop.makeStatusItem(kSquareStatusItemLength); }
  bool hasIcon() { return desktop.mainQueue().runAll(), !desktop.shown.empty() && desktop.shown.back().image; }
  bool has(const std::string& title) {
    const auto entries = desktop.statusItem()->announcedMenu()->items();
    return std::any_of(entries.begin(), entries.end(), [&](const auto& entry) { return entry->title == title; });
  }
  void click() { desktop.click(); }
  void choose(const std::string& title) { desktop.choose(title); }
  bool isEmpty() { return desktop.statusItemsInBar == 0; }
};

struct OnFreedesktop {
  PrivateBus bus;
  freedesktop::Desktop desktop;
  std::unique_ptr<freedesktop::Peer> panel;

  nanoseconds now() { return freedesktop::monotonicNow(); }
  void stall(nanoseconds duration) { std::this_thread::sleep_for(duration); }
  bool runUntil(const std::function<bool()>& done) {
    // A condition that another thread makes true wakes nobody.
    const auto look = desktop.mainQueue().repeat(milliseconds(1), [] {});
    return freedesktop::runUntil(done, kDeadline);
  }

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
  bool has(const std::string& title) {
    return panel->takeSignals(), panel->menu().find("<'" + title + "'>") != std::string::npos;
  }
  void click() { panel->call(freedesktop::kItem, "Activate", "(0, 0)"), panel->takeSignals(); }
  void choose(const std::string& title) {
    const auto menu = (panel->takeSignals(), panel->menu());
    const auto entry = menu.rfind('(', menu.find("<'" + title + "'>"));  // its id is first
    panel->choose(std::stoi(menu.substr(entry + 1)));
    panel->takeSignals();
  }
  bool isEmpty() { return panel->menu() == "error"; }
};

using Drivers = Types<OnMemory, OnFreedesktop>;

}  // namespace
}  // namespace quill

#include "desktop_contract.h"
