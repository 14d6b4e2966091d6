// What holds for the main queue of every desktop. A test includes this file after `Drivers`, which names structs with
// `queue`, and with `runUntil` that runs the main loop until a condition holds.

#include <thread>

#include "main_queue.h"
#include "testing.h"

namespace quill::tests {

template <typename Driver>
struct DesktopContract : Test {
  Driver driver;
};
TYPED_TEST_SUITE(DesktopContract, Drivers);

TYPED_TEST(DesktopContract, PostedWorkRunsLaterInOrderAlsoInsideOtherWork) {
  auto& loop = this->driver;
  Lines ran;
  loop.queue.post([&] {
    ran.emplace_back("first");
    loop.queue.post([&] { ran.emplace_back("posted by the first"); });
  });
  loop.queue.post([&] {
    ran.emplace_back("second");
    EXPECT_TRUE(loop.runUntil([&] { return ran.size() == 3; })) << "a loop inside a piece of work runs the next one";
  });
  EXPECT_THAT(ran, IsEmpty());
  EXPECT_TRUE(loop.runUntil([&] { return ran.size() == 3; }));
  EXPECT_THAT(ran, ElementsAre("first", "second", "posted by the first"));
}

TYPED_TEST(DesktopContract, WorkOfAnotherThreadRunsOnTheMainThread) {
  auto& loop = this->driver;
  loop.queue.enter();
  bool done = false;
  std::thread worker([&, main = std::this_thread::get_id()] {
    EXPECT_FALSE(loop.queue.isCurrent());
    loop.queue.run([&] { EXPECT_EQ(std::this_thread::get_id(), main); },
                   [&] { loop.queue.post([&] { done = true; }); });
  });
  EXPECT_TRUE(loop.runUntil([&] { return done; }) && loop.queue.isCurrent());
  worker.join();
}

TYPED_TEST(DesktopContract, TimerEndsWithItsObjectEvenInItsOwnTick) {
  auto& loop = this->driver;
  int ticks = 0;
  std::unique_ptr<Timer> own;
  own = loop.queue.repeat(2ms, [&, held = 1] {
    own.reset();
    ticks += held;  // the function outlives its timer
  });
  loop.queue.repeat(2ms, [&] { ticks += 100; }).reset();
  int later = 0;
  const auto other = loop.queue.repeat(2ms, [&] { ++later; });
  loop.queue.post([&] { EXPECT_TRUE(loop.runUntil([&] { return later >= 5; })) << "timers tick during other work"; });
  EXPECT_TRUE(loop.runUntil([&] { return later >= 5; }));
  EXPECT_EQ(ticks, 1);
}

}  // namespace quill::tests
