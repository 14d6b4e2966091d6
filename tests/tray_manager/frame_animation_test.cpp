#include <thread>

#include "manager_fixture.h"

namespace quill::tests {

class AnimationTest : public ManagerTest {
 protected:
  void startWithFrames(std::initializer_list<int> widths) {
    manager->createTray();
    for (const int width : widths) manager->addAnimationFrame(image(width));
    manager->startAnimation();
  }
  /// What the bar showed since the last call, as the image's width and the milliseconds since `started`.
  std::vector<std::pair<int, long>> takeShown(std::chrono::nanoseconds started) {
    std::vector<std::pair<int, long>> all;
    for (const auto& [at, image] : std::exchange(desktop.shown, {}))
      all.emplace_back(image ? image->picture()->width : 0, (at - started) / 1ms);
    return all;
  }
  bool isIdle() { return !manager->isAnimating && queue.timers() == 0 && manager->currentFrameIndex == 0; }

  memory::MainQueue& queue = desktop.mainQueue();
};

TEST_F(AnimationTest, RunPlaysOnceAndRestoresTheMainIcon) {
  manager->createTray();
  manager->setMainIcon(image(22));
  for (const int width : {30, 31, 32}) manager->addAnimationFrame(image(width));
  queue.runAll();
  takeShown(0ns);
  auto& button = *manager->statusItem->button();
  for (const auto started : {0ms, 105ms}) {
    button.setBordered(true);
    button.setHidden(true);
    button.setAlphaValue(0.5);
    manager->startAnimation();
    EXPECT_TRUE(showsImageOnly(button));
    button.setBordered(true);
    takeLines();
    queue.advance(105ms);
    EXPECT_THAT(takeShown(started), ElementsAre(Pair(30, 0), Pair(31, 70), Pair(22, 105)));
    EXPECT_THAT(takeLines(), ElementsAre("INFO 动画已停止，恢复按钮主图标"));
    EXPECT_TRUE(isIdle() && showsImageOnly(button));
  }
  EXPECT_EQ(desktop.prepared, 4) << "an image is converted for the bar once, not at each tick";
}

TEST_F(AnimationTest, StartOfARunningAnimationIsRejected) {
  startWithFrames({30, 31});
  queue.advance(35ms);
  takeLines();
  manager->startAnimation();
  queue.advance(35ms);
  EXPECT_THAT(takeLines(),
              ElementsAre("WARN 动画无法启动：动画帧为空(2)或动画正在运行(true)", "WARN 动画已停止，但主图标不存在"));
  EXPECT_THAT(takeShown(0ns).back(), Pair(31, 70)) << "without a main icon the last frame stays";
}

TEST_F(AnimationTest, RunningAnimationShowsAnAddedFrameAndANewIcon) {
  startWithFrames({30, 31});
  queue.advance(36ms);
  manager->addAnimationFrame(image(32));
  manager->setMainIcon(image(23));
  const auto item = manager->statusItem;
  const std::weak_ptr<Manager> heldByTheTimer = std::exchange(manager, nullptr);
  queue.advance(100ms);
  EXPECT_THAT(takeShown(0ns), ElementsAre(Pair(30, 0), Pair(23, 36), Pair(31, 70), Pair(23, 105)));
  EXPECT_TRUE(heldByTheTimer.expired());
}

TEST_F(AnimationTest, ResetStopsTheAnimationAndRemovesTheFrames) {
  startWithFrames({30, 31});
  queue.advance(35ms);
  manager->resetAnimation();
  EXPECT_TRUE(isIdle() && manager->animationFrames.capacity() == 0);
}

TEST_F(AnimationTest, TickOffTheMainThreadIsPostedAndAfterAStopIgnored) {
  startWithFrames({30, 31});
  std::thread([this] { manager->perform("updateAnimation", nullptr); }).join();
  EXPECT_EQ(manager->currentFrameIndex, 0);
  queue.runAll();
  EXPECT_EQ(manager->currentFrameIndex, 1);
  manager->stopAnimation();
  manager->perform("updateAnimation", nullptr);
  EXPECT_TRUE(isIdle());
}

TEST_F(AnimationTest, CallOffTheMainThreadRunsOnTheMainThread) {
  const std::function<void()> calls[] = {
      [this] { manager->addAnimationFrame(image(30)); },
      [this] { manager->startAnimation(); },
      [this] { manager->stopAnimation(); },
      [this] { manager->resetAnimation(); },
  };
  for (const auto& call : calls) {
    const std::jthread caller(call);
    EXPECT_TRUE(queue.waitAndRunOne() && isIdle());
  }
  EXPECT_THAT(takeLines(), ElementsAre("WARN 动画无法启动：按钮不存在", "WARN 动画停止：按钮不存在", _,
                                       "INFO 动画已重置，动画帧数: 0"));
}

}  // namespace quill::tests
