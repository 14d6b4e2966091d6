// What holds for the main queue of every desktop.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

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
    freedesktop::GlibMainQueue queue;
    bool expired = false;
    freedesktop::DueCall deadline(queue, [&] { expired = true; });
    deadline.setDueIn(kDeadline);
    while (!done() && !expired) {
      // A condition that another thread makes true wakes nobody.
      freedesktop::DueCall look(queue, [] {});
      look.setDueIn(milliseconds(1));
      g_main_context_iteration(nullptr, TRUE);
    }
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
    this->queue().post([&] { ran.push_back(4); });
  });
  this->queue().post([&] { ran.push_back(2); });
  this->queue().post([&] { ran.push_back(3); });
  EXPECT_TRUE(ran.empty());
  this->driver.runUntil([&] { return ran.size() >= 4; });
  EXPECT_THAT(ran, ElementsAre(1, 2, 3, 4));
}

TYPED_TEST(MainQueueContract, HasOneMainThreadWhichOthersCanWaitFor) {
  EXPECT_TRUE(this->queue().isCurrent());
  std::thread::id ranOn;
  bool isCurrentThere = false;
  bool isCurrentElsewhere = true;
  std::atomic<bool> waited = false;
  std::thread other([&] {
    this->queue().runAndWait([&] {
      ranOn = std::this_thread::get_id();
      isCurrentThere = this->queue().isCurrent();
    });
    isCurrentElsewhere = this->queue().isCurrent();
    waited = true;
  });
  EXPECT_TRUE(this->driver.runUntil([&] { return waited.load(); }));
  other.join();
  EXPECT_EQ(ranOn, std::this_thread::get_id());
  EXPECT_TRUE(isCurrentThere);
  EXPECT_FALSE(isCurrentElsewhere);
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
  this->queue().repeat(milliseconds(2), [&] { endedTicks += 100; }).reset();
  const auto timer = this->queue().repeat(milliseconds(2), [&] { ++ticks; });
  this->queue().post([&] {
    bool posted = false;
    this->queue().post([&] { posted = true; });
    done = this->driver.runUntil([&] { return ticks >= 5 && posted; });
  });
  EXPECT_TRUE(this->driver.runUntil([&] { return done; }));
  EXPECT_EQ(endedTicks, 1);
}

}  // namespace
}  // namespace quill
