// What holds for the main queue of every desktop.

#include <gmock/gmock.h>

#include <algorithm>
#include <future>

#include "freedesktop_desktop.h"
#include "memory_desktop.h"

namespace quill {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;

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
};

struct OnFreedesktop {
  freedesktop::Desktop desktop;

  nanoseconds now() { return freedesktop::monotonicNow(); }
  void stall(nanoseconds duration) { std::this_thread::sleep_for(duration); }
  bool runUntil(const std::function<bool()>& done) {
    // A condition that another thread makes true wakes nobody.
    const auto look = desktop.mainQueue().repeat(milliseconds(1), [] {});
    const auto deadline = now() + kDeadline;
    while (!done() && now() < deadline) g_main_context_iteration(nullptr, TRUE);
    return done();
  }
};

template <typename Driver>
class MainQueueContract : public ::testing::Test {
 protected:
  MainQueue& queue() { return driver.desktop.mainQueue(); }
  Driver driver;
};
using Drivers = ::testing::Types<OnMemory, OnFreedesktop>;
TYPED_TEST_SUITE(MainQueueContract, Drivers);

TYPED_TEST(MainQueueContract, RunsWhatIsPostedLaterAndInOrder) {
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

TYPED_TEST(MainQueueContract, HasOneMainThreadWhichOthersCanWaitFor) {
  EXPECT_TRUE(this->queue().isCurrent());
  std::thread::id ranOn;
  auto waited = std::async(std::launch::async, [&] {
    this->queue().runAndWait([&] {
      EXPECT_TRUE(this->queue().isCurrent());
      ranOn = std::this_thread::get_id();
    });
    EXPECT_FALSE(this->queue().isCurrent());
    return ranOn;
  });
  EXPECT_TRUE(this->driver.runUntil([&] { return waited.wait_for(nanoseconds(0)) == std::future_status::ready; }));
  EXPECT_EQ(waited.get(), std::this_thread::get_id());
}

TYPED_TEST(MainQueueContract, TicksOnItsGridWhateverTheDelays) {
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

TYPED_TEST(MainQueueContract, EndsATimerWithItsObjectAndTicksWhileWorkKeepsTheLoopGoing) {
  int ticks = 0;
  int endedTicks = 0;
  bool done = false;
  std::unique_ptr<Timer> ended;
  ended = this->queue().repeat(milliseconds(2), [&, own = std::make_shared<int>(1)] {
    ended.reset();
    endedTicks += *own;  // what it holds outlives the call
  });
  std::unique_ptr<Timer> invalidated;
  invalidated = this->queue().repeat(milliseconds(2), [&, own = std::make_shared<int>(10)] {
    invalidated->invalidate();
    endedTicks += *own;
  });
  this->queue().repeat(milliseconds(2), [&] { endedTicks += 100; }).reset();
  const auto timer = this->queue().repeat(milliseconds(2), [&] { ++ticks; });
  this->queue().post([&] { done = this->driver.runUntil([&] { return ticks >= 5; }); });
  EXPECT_TRUE(this->driver.runUntil([&] { return done; }));
  EXPECT_EQ(endedTicks, 11);
}

}  // namespace
}  // namespace quill
