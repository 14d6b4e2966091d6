// What holds for every desktop.

#include "memory_desktop.h"
#include "panel_fixture.h"

namespace quill::tests {

using std::chrono::nanoseconds;

/// A desktop with the time that passes on it and a user who sees its bar.
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

template <typename Driver>
struct DesktopContract : Test {
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
  auto& queue = this->driver.queue;
  Lines ran;
  queue.post([&] { ran.emplace_back("first"), queue.post([&] { ran.emplace_back("posted by it"); }); });
  queue.post([&] { ran.emplace_back("second"); });
  EXPECT_THAT(ran, IsEmpty());
  this->driver.runUntil([&] { return ran.size() >= 3; });
  EXPECT_THAT(ran, ElementsAre("first", "second", "posted by it"));
}

TYPED_TEST(DesktopContract, TicksOnItsGridWhateverTheDelays) {
  constexpr auto kPeriod = 40ms;
  auto& loop = this->driver;
  std::vector<nanoseconds> ticks;
  const auto timer = loop.queue.repeat(kPeriod, [&, start = loop.now()] {
    ticks.push_back(loop.now() - start);
    if (ticks.size() == 1) loop.stall(kPeriod * 5 / 2);
  });
  ASSERT_TRUE(loop.runUntil([&] { return ticks.size() >= 10; }));
  EXPECT_GE(ticks.front(), kPeriod);
  EXPECT_LE(10, ticks.back() / kPeriod - 1) << "two that were missed, of which one came late";
  auto leastDelay = nanoseconds::max();
  for (std::size_t i = 2; i < ticks.size(); ++i) leastDelay = std::min(leastDelay, ticks[i] % kPeriod);
  EXPECT_LT(leastDelay, kPeriod / 4) << "the delay did not move the grid";
}

TYPED_TEST(DesktopContract, EndsATimerWithItsObjectAndTicksWhileWorkKeepsTheLoopGoing) {
  auto& loop = this->driver;
  int ticks = 0, endedTicks = 0;
  bool done = false;
  std::unique_ptr<Timer> ended;
  ended = loop.queue.repeat(2ms, [&, own = std::make_shared<int>(1)] {
    ended->invalidate(), ended.reset();
    endedTicks += *own;  // what it holds outlives the call
  });
  loop.queue.repeat(2ms, [&] { endedTicks += 100; }).reset();
  const auto timer = loop.queue.repeat(2ms, [&] { ++ticks; });
  loop.queue.post([&] { done = loop.runUntil([&] { return ticks >= 5; }); });
  EXPECT_TRUE(loop.runUntil([&] { return done; }));
  EXPECT_EQ(endedTicks, 1);
}

}  // namespace quill::tests
