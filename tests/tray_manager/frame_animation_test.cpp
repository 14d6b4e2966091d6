#include <future>
#include <thread>

#include "manager_fixture.h"

namespace quill::tests {

class AnimationTest : public ManagerTest {
 protected:
  void addFramesUpTo(int count) {
    auto& frames = manager->animationFrames;
    while (std::ssize(frames) < count) manager->addAnimationFrame(image(30 + static_cast<int>(frames.size())));
  }
  void start() { started = queue.now(), manager->startAnimation(); }
  /// What the bar showed since the last start, as milliseconds and width; the main icon is 22 wide, frame k 30 + k.
  std::vector<std::pair<long, int>> takeShown() {
    std::vector<std::pair<long, int>> all;
    for (const auto& [at, image] : std::exchange(desktop.shown, {}))
      all.emplace_back((at - started) / 1ms, image->picture()->width);
    return all;
  }
  void createWithIcon() {
    manager->createTray();
    manager->setMainIcon(image(22));
    queue.runAll();
    desktop.shown.clear();
    takeLines(), manager->performed.clear();
  }
  bool idle() { return !manager->isAnimating && !manager->animationTimer && queue.timers() == 0; }

  memory::MainQueue& queue = desktop.mainQueue();
  std::chrono::nanoseconds started{0};
  const std::string restored = "INFO 动画已停止，恢复按钮主图标";
};

TEST_F(AnimationTest, RunPlaysOnceAndRestoresTheMainIcon) {
  createWithIcon();
  for (const int count : {1, 3, 30, 30}) {  // the frames outlive the animation
    addFramesUpTo(count);
    auto& button = *manager->statusItem->button();
    spoilLook(button);
    manager->currentFrameIndex = 1;
    start();
    EXPECT_EQ(look(button), kImageOnly);
    button.setBordered(true);
    takeLines();
    queue.advance(35ms * count - 1ns);
    std::vector<std::pair<long, int>> expected{{0, 30}};
    for (int tick = 2; tick < count; ++tick) expected.emplace_back(35 * tick, 29 + tick);
    EXPECT_EQ(takeShown(), expected);
    queue.advance(1ns);
    EXPECT_THAT(takeShown(), ElementsAre(Pair(35 * count, 22))) << "the last frame gives way within its own tick";
    EXPECT_THAT(takeLines(), ElementsAre(restored));
    EXPECT_TRUE(idle() && manager->currentFrameIndex == 0 && look(button) == kImageOnly);
    EXPECT_EQ(desktop.prepared, 1 + count) << "a frame is turned into what the bar reads once, when it is added";
  }
}

TEST_F(AnimationTest, RejectedStartLeavesTheStateAlone) {
  manager->startAnimation();
  addFramesUpTo(2);
  manager->startAnimation();
  EXPECT_TRUE(idle());
  EXPECT_THAT(takeLines(),
              ElementsAre("WARN 动画无法启动：动画帧为空(0)或动画正在运行(false)", "WARN 动画无法启动：按钮不存在"));
  manager->createTray();
  start();
  queue.advance(35ms);
  takeLines();
  manager->startAnimation();
  EXPECT_EQ(manager->currentFrameIndex, 1);
  queue.advance(1s);
  EXPECT_TRUE(idle());
  EXPECT_THAT(takeLines(),
              ElementsAre("WARN 动画无法启动：动画帧为空(2)或动画正在运行(true)", "WARN 动画已停止，但主图标不存在"));
  EXPECT_THAT(takeShown().back(), Pair(70, 31)) << "without a main icon the last frame stays";
}

TEST_F(AnimationTest, RunningAnimationFollowsChangesAndStops) {
  createWithIcon();
  addFramesUpTo(2);
  start();
  queue.advance(36ms);
  manager->addAnimationFrame(image(40));
  manager->setMainIcon(image(23));
  queue.advance(101ms);
  // The new icon shows until the next tick, and is what the button gets back after the added frame.
  EXPECT_THAT(takeShown(), ElementsAre(Pair(0, 30), Pair(36, 23), Pair(70, 31), Pair(105, 23)));

  start();
  queue.advance(35ms);
  takeLines();
  manager->stopAnimation();
  manager->resetAnimation();
  EXPECT_THAT(takeLines(), ElementsAre(restored, restored, "INFO 动画已重置，动画帧数: 0"));
  EXPECT_TRUE(idle() && manager->animationFrames.capacity() == 0);
  addFramesUpTo(2);
  manager->perform(selectors::kUpdateAnimation, nullptr);  // not running
  EXPECT_EQ(manager->currentFrameIndex, 0);
  start();
  std::vector<Image>().swap(manager->animationFrames);
  queue.advance(35ms);
  EXPECT_TRUE(idle());
}

TEST_F(AnimationTest, CallOffTheMainThreadWaitsForTheMainThread) {
  createWithIcon();
  addFramesUpTo(2);
  const std::tuple<std::function<void()>, std::size_t, bool> steps[] = {
      {[&] { manager->addAnimationFrame(image(30)); }, 3, false},
      {[&] { manager->startAnimation(); }, 3, true},
      {[&] { manager->stopAnimation(); }, 3, false},
      {[&] { manager->resetAnimation(); }, 0, false}};
  for (const auto& [call, frames, animates] : steps) {
    const auto called = std::async(std::launch::async, call);
    EXPECT_TRUE(queue.waitAndRunOne() && manager->animationFrames.size() == frames);
    EXPECT_EQ(manager->isAnimating, animates);
    called.wait(), queue.runAll();
  }
}

TEST_F(AnimationTest, TimerSendsItsActionByNameAndHoldsTheManager) {
  createWithIcon();
  addFramesUpTo(3);
  start();
  queue.advance(35ms);
  EXPECT_THAT(manager->performed, ElementsAre("updateAnimation"));
  std::thread([&] { manager->perform(selectors::kUpdateAnimation, nullptr); }).join();
  EXPECT_EQ(manager->currentFrameIndex, 1);
  queue.runAll();
  EXPECT_EQ(manager->currentFrameIndex, 2);
  const std::weak_ptr<Manager> held = std::exchange(manager, nullptr);
  queue.advance(34ms);
  EXPECT_FALSE(held.expired());
  queue.advance(1ms);
  EXPECT_TRUE(held.expired());
}

}  // namespace quill::tests
