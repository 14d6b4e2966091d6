// What holds for every desktop. Included behind the drivers, which `Drivers` names: each is a desktop with the time
// that passes on it and a user who sees its bar.

#include <thread>

#include "decode_image.h"
#include "desktop.h"
#include "testing.h"

namespace quill::tests {

using std::chrono::nanoseconds;

template <typename Driver>
struct DesktopContract : Test {
  Driver driver;
};
TYPED_TEST_SUITE(DesktopContract, Drivers);

struct Host : Responder {
  Lines told;
  std::function<void()> whenTold = [] {};
  bool perform(Selector selector, const MenuItem* sender) override {
    told.push_back(std::string(selector));
    if (sender != nullptr) told.back() += std::any_cast<std::string>(sender->representedObject);
    return whenTold(), true;
  }
};

TYPED_TEST(DesktopContract, ShowsAnItemTellsOfClicksAndChoicesFollowsAndForgetsIt) {
  auto& bar = this->driver;
  const auto host = std::make_shared<Host>();
  auto item = bar.show();
  auto& button = *item->button();
  button.setTarget(host), button.setAction("handleClick");
  EXPECT_FALSE(bar.hasIcon());
  auto icon = decodeImage(kOnePixelGif).value();
  bar.desktop.prepare(icon);
  button.setImage(icon);
  EXPECT_TRUE(bar.hasIcon());
  for (const bool isHidden : {true, false}) EXPECT_NE((button.setHidden(isHidden), bar.hasIcon()), isHidden);
  for (const bool isVisible : {false, true}) EXPECT_EQ((item->setVisible(isVisible), bar.hasIcon()), isVisible);

  const auto announce = [&](std::initializer_list<const char*> titles) {
    const auto menu = std::make_shared<Menu>();
    for (const std::string title : titles) {
      menu->addItem(MenuItem::make(title, "handleMenuItemAction:", ""));
      menu->items().back()->action.target = host;
      menu->items().back()->representedObject = title;
      menu->items().back()->enabled = title != "off";
    }
    item->announceMenu(menu);
  };
  announce({"A", "off"});
  EXPECT_TRUE(bar.has("A") && bar.has("off"));
  for (const char* title : {"A", "off"}) bar.choose(title);
  bar.click();
  EXPECT_THAT(std::exchange(host->told, {}), ElementsAre("handleMenuItemAction:A", "handleClick"));
  host->whenTold = [&] { announce({"B"}); };
  bar.choose("A");
  EXPECT_TRUE(bar.has("B") && !bar.has("A"));
  host->whenTold = [&] { item.reset(); };
  bar.choose("B");
  EXPECT_THAT(host->told, ElementsAre("handleMenuItemAction:A", "handleMenuItemAction:B"));
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
  bool ranInside = false;
  queue.post([&] {
    queue.post([&] { ranInside = true; });
    EXPECT_TRUE(this->driver.runUntil([&] { return ranInside; })) << "a loop inside a piece of work runs the next one";
  });
  EXPECT_TRUE(this->driver.runUntil([&] { return ranInside; }));
}

TYPED_TEST(DesktopContract, RunsAWorkersCallOnTheMainThread) {
  auto& queue = this->driver.queue;
  bool done = false;
  queue.post([&] { done = true; });
  EXPECT_TRUE(this->driver.runUntil([&] { return done; })) << "by now it is known which thread that is";
  done = false;
  std::thread worker([&, main = std::this_thread::get_id()] {
    EXPECT_FALSE(queue.isCurrent());
    queue.run([&] { EXPECT_EQ(std::this_thread::get_id(), main); }, [&] { queue.post([&] { done = true; }); });
  });
  EXPECT_TRUE(this->driver.runUntil([&] { return done; }) && queue.isCurrent());
  worker.join();
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
