// What holds for every desktop.

#include <algorithm>

#include "memory_desktop.h"
#include "panel_fixture.h"

namespace quill {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr milliseconds kDeadline{10'000};

/// A desktop with the time that passes on it and a user who sees its bar.
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

template <typename Driver>
class DesktopContract : public Test {
 protected:
  MainQueue& queue() { return driver.desktop.mainQueue(); }
  Driver driver;
};
using Drivers = Types<OnMemory, OnFreedesktop>;
TYPED_TEST_SUITE(DesktopContract, Drivers);

struct Host : Responder {
  Lines told;
  std::function<void()> whenTold = [] {};
  bool perform(Selector selector, const MenuItem* sender) override {
    told.push_back(std::string(selector) + (sender != nullptr ? " " + sender->title : ""));
    return whenTold(), true;
  }
};

TYPED_TEST(DesktopContract, ShowsAnItemTellsOfClicksAndChoicesFollowsAndForgetsIt) {
  auto& bar = this->driver;
  const auto host = std::make_shared<Host>();
  auto item = bar.show();
  auto& button = *item->button();
  button.setTarget(host), button.setAction("click");
  EXPECT_FALSE(bar.hasIcon());
  Image icon(std::make_shared<Pixels>(22, 22, std::pmr::vector<std::uint8_t>(std::size_t{22} * 22 * 4, 255)), {22, 22});
  bar.desktop.prepare(icon);
  button.setImage(icon);
  EXPECT_TRUE(bar.hasIcon());
  for (const bool isHidden : {true, false}) EXPECT_NE((button.setHidden(isHidden), bar.hasIcon()), isHidden);
  for (const bool isVisible : {false, true}) EXPECT_EQ((item->setVisible(isVisible), bar.hasIcon()), isVisible);

  const auto announce = [&](std::initializer_list<const char*> titles) {
    const auto menu = std::make_shared<Menu>();
    for (const std::string title : titles) {
      menu->addItem(MenuItem::make(title, "choose", ""));
      menu->items().back()->action.target = host;
      menu->items().back()->enabled = title != "off";
    }
    item->announceMenu(menu);
  };
  announce({"A", "off"});
  EXPECT_TRUE(bar.has("A") && bar.has("off"));
  for (const char* title : {"A", "off"}) bar.choose(title);
  bar.click();
  EXPECT_THAT(std::exchange(host->told, {}), ElementsAre("choose A", "click"));
  host->whenTold = [&] { announce({"B"}); };
  bar.choose("A");
  EXPECT_TRUE(bar.has("B") && !bar.has("A"));
  host->whenTold = [&] { item.reset(); };
  bar.choose("B");
  EXPECT_THAT(host->told, ElementsAre("choose A", "choose B"));
  EXPECT_TRUE(bar.isEmpty());
}

TYPED_TEST(DesktopContract, RunsWhatIsPostedLaterInOrder) {
  std::vector<int> ran;
  this->queue().post([&] {
    ran.push_back(1);
    this->queue().post([&] { ran.push_back(3); });
  });
  this->queue().post([&] { ran.push_back(2); });
  EXPECT_TRUE(ran.empty());
  this->driver.runUntil([&] { return ran.size() >= 3; });
  EXPECT_THAT(ran, ElementsAre(1, 2, 3));
}

TYPED_TEST(DesktopContract, TicksOnItsGridWhateverTheDelays) {
  constexpr milliseconds kPeriod{40};
  std::vector<nanoseconds> ticks;
  const auto start = this->driver.now();
  const auto timer = this->queue().repeat(kPeriod, [&] {
    ticks.push_back(this->driver.now() - start);
    if (ticks.size() == 1) this->driver.stall(kPeriod * 5 / 2);
  });
  ASSERT_TRUE(this->driver.runUntil([&] { return ticks.size() >= 10; }));
  EXPECT_GE(ticks.front(), kPeriod);
  EXPECT_LE(10, ticks.back() / kPeriod - 1) << "two that were missed, of which one came late";
  const auto leastDelay = std::min_element(ticks.begin() + 2, ticks.end(),
                                           [&](auto one, auto other) { return one % kPeriod < other % kPeriod; });
  EXPECT_LT(*leastDelay % kPeriod, kPeriod / 4) << "the delay did not move the grid";
}

TYPED_TEST(DesktopContract, EndsATimerWithItsObjectAndTicksWhileWorkKeepsTheLoopGoing) {
  int ticks = 0;
  int endedTicks = 0;
  bool done = false;
  std::unique_ptr<Timer> ended;
  ended = this->queue().repeat(milliseconds(2), [&, own = std::make_shared<int>(1)] {
    ended->invalidate(), ended.reset();
    endedTicks += *own;  // what it holds outlives the call
  });
  this->queue().repeat(milliseconds(2), [&] { endedTicks += 100; }).reset();
  const auto timer = this->queue().repeat(milliseconds(2), [&] { ++ticks; });
  this->queue().post([&] { done = this->driver.runUntil([&] { return ticks >= 5; }); });
  EXPECT_TRUE(this->driver.runUntil([&] { return done; }));
  EXPECT_EQ(endedTicks, 1);
}

}  // namespace
}  // namespace quill
