// The animation as a panel on the bus sees it.

#include "panel_fixture.h"

namespace quill::freedesktop {
namespace {

using Animation = PanelTest;

TEST_F(Animation, ShowsEachFrameInItsTick) {
  showInPanel();
  const auto iconOf = [&](int number) {
    manager->setMainIcon(image(number));
    panel->takeSignals();
    return panel->get("IconPixmap");
  };
  constexpr std::chrono::nanoseconds kTick = 35ms;
  for (const int count : {3, 30}) {
    std::vector<std::string> icons;
    for (int number = 5; number < 5 + count; ++number) {
      icons.push_back(iconOf(number));
      manager->addAnimationFrame(image(number));
    }
    icons.back() = iconOf(4);  // the last frame gives way to the main icon within its own tick

    const auto start = monotonicNow();
    manager->startAnimation();
    auto leastDelay = kTick;
    for (std::size_t i = 0; i < icons.size(); ++i) {
      ASSERT_TRUE(runUntil([&] { return panel->signals.size() > i; }));
      // The first tick finds the first frame on show, which is no news.
      const auto delay = monotonicNow() - start - (i == 0 ? 0ns : kTick * static_cast<int>(i + 1));
      EXPECT_TRUE(panel->get("IconPixmap") == icons[i] && icons[i] != icons[(i + 1) % icons.size()]) << i;
      EXPECT_GE(delay, 0ns) << i;
      if (i > 0) leastDelay = std::min(leastDelay, delay % kTick);
    }
    EXPECT_LT(leastDelay, kTick / 2) << "the ticks stay on their grid";
    runFor(100ms);
    EXPECT_EQ(panel->takeSignals(), std::vector<std::string>(icons.size(), "NewIcon()")) << "and then no more";
    manager->resetAnimation();
  }
}

}  // namespace
}  // namespace quill::freedesktop
