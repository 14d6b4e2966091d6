// Holds that the desktop in memory, on which the core's tests run, behaves as a desktop with a panel.

#include <thread>

#include "decode_image.h"
#include "memory_desktop.h"
#include "panel_fixture.h"

namespace quill::tests {

struct OnMemory {
  memory::Desktop desktop;
  memory::MainQueue& queue = desktop.mainQueue();

  std::chrono::nanoseconds now() { return queue.now(); }
  void stall(std::chrono::nanoseconds duration) { queue.stall(duration); }
  bool runUntil(const std::function<bool()>& done) {
    for (const auto deadline = now() + 10s; !done() && now() < deadline;)
      if (!queue.waitAndRunOne(1ms)) queue.advance(1ms);
    return done();
  }

  std::shared_ptr<StatusItem> show() { return desktop.makeStatusItem(kSquareStatusItemLength); }
  bool hasIcon() { return queue.runAll(), !desktop.shown.empty() && desktop.shown.back().image; }
  void click() { desktop.click(); }
  void choose(const std::string& title) { desktop.choose(title); }
  bool isEmpty() { return desktop.statusItemsInBar == 0; }
};

struct OnFreedesktop {
  PrivateBus bus;
  freedesktop::Desktop desktop;
  MainQueue& queue = desktop.mainQueue();
  std::unique_ptr<freedesktop::Peer> panel;

  std::chrono::nanoseconds now() { return freedesktop::monotonicNow(); }
  void stall(std::chrono::nanoseconds duration) { std::this_thread::sleep_for(duration); }
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
  void click() { panel->call(freedesktop::kItem, "Activate", "(0, 0)"), panel->takeSignals(); }
  void choose(const std::string& title) {
    panel->takeSignals();
    const auto shown = panel->menu();
    const auto entry = shown.rfind('(', shown.find("<'" + title + "'>"));  // its id is first
    panel->choose(std::stoi(shown.substr(entry + 1)));
    panel->takeSignals();
  }
  bool isEmpty() { return panel->menu() == "error"; }
};

using Drivers = Types<OnMemory, OnFreedesktop>;

}  // namespace quill::tests

#include "desktop_contract.h"

namespace quill::tests {

TYPED_TEST(DesktopContract, TimerAfterALongTickSkipsTicksAndStaysOnItsGrid) {
  constexpr auto kPeriod = 40ms;
  auto& loop = this->driver;
  int ticks = 0;
  std::chrono::nanoseconds last{};
  const auto timer = loop.queue.repeat(kPeriod, [&, start = loop.now()] {
    last = loop.now() - start;
    EXPECT_GE(last, ++ticks * kPeriod);
    if (ticks == 1) loop.stall(kPeriod * 5 / 2);
  });
  EXPECT_TRUE(loop.runUntil([&] { return ticks > 2 && last % kPeriod < kPeriod / 4; })) << "the delay moved the grid";
  EXPECT_GT(last / kPeriod, ticks) << "of two missed ticks one runs late";
}

/// Drops the item when the user chooses from its menu.
struct Host : Responder {
  std::shared_ptr<StatusItem> item;
  Lines performed;
  bool perform(Selector selector, const MenuItem* sender) override {
    performed.push_back(std::string(selector) + (sender != nullptr ? sender->title : ""));
    if (sender != nullptr) item.reset();
    return true;
  }
};

TYPED_TEST(DesktopContract, ItemShowsItsStateAndReportsClicksAndChoices) {
  auto& bar = this->driver;
  const auto host = std::make_shared<Host>();
  auto& item = host->item = bar.show();
  EXPECT_FALSE(bar.hasIcon());
  auto icon = decodeImage(kOnePixelGif).value();
  bar.desktop.prepare(icon);
  item->button()->setImage(icon);
  EXPECT_TRUE(bar.hasIcon());
  for (const bool isHidden : {true, false}) EXPECT_NE((item->button()->setHidden(isHidden), bar.hasIcon()), isHidden);
  for (const bool isVisible : {false, true}) EXPECT_EQ((item->setVisible(isVisible), bar.hasIcon()), isVisible);

  item->button()->setTarget(host);
  item->button()->setAction("handleClick");
  const auto menu = std::make_shared<Menu>();
  for (const std::string title : {"on", "off"}) {
    menu->addItem(MenuItem::make(title, "choose: ", ""));
    menu->items().back()->action.target = host;
    menu->items().back()->enabled = title == "on";
  }
  item->announceMenu(menu);
  bar.click();
  bar.choose("off");
  bar.choose("on");
  EXPECT_THAT(host->performed, ElementsAre("handleClick", "choose: on"));
  EXPECT_TRUE(bar.isEmpty());
}

}  // namespace quill::tests
