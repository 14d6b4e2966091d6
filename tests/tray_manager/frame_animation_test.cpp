#include <thread>

#include "manager_fixture.h"

namespace quill::testing {
namespace {

using namespace std::chrono_literals;

class AnimationTest : public ManagerTest {
 protected:
  void addFrames(int count) {
    for (int frame = 0; frame < count; ++frame) manager->addAnimationFrame(image(30 + frame));
  }
  /// What the bar showed, as "milliseconds:width"; the main icon is 22 pixels wide, frame k 30 + k.
  Lines takeShown() {
    Lines all;
    for (const auto& shown : desktop.shown) {
      all.push_back(std::to_string(shown.at / 1ms) + ":" +
                    std::to_string(shown.image ? shown.image->pixels().width : 0));
    }
    desktop.shown.clear();
    return all;
  }
  void createWithIcon() {
    manager->createTray();
    manager->setMainIcon(image(22));
    desktop.mainQueue().runAll();
    desktop.shown.clear();
    takeLines();
  }
  bool idle() { return !manager->isAnimating && !manager->animationTimer && desktop.mainQueue().timers() == 0; }
};

TEST_F(AnimationTest, PlaysOnceAndRestoresTheMainIcon) {
  createWithIcon();
  addFrames(3);
  manager->startAnimation();
  EXPECT_THAT(takeLines(), ElementsAre("DEBUG 设置动画第一帧，图像: <Image 30x30 pixels>",
                                       "INFO 开始动画，总帧数: 3，直接更新按钮图像"));
  desktop.mainQueue().advance(104ms);
  EXPECT_EQ(manager->currentFrameIndex, 2);
  EXPECT_THAT(takeLines(), IsEmpty());
  desktop.mainQueue().advance(1ms);
  EXPECT_THAT(takeLines(), ElementsAre("INFO 动画已停止，恢复按钮主图标"));
  // The last frame gives way to the main icon within its own tick.
  EXPECT_THAT(takeShown(), ElementsAre("0:30", "70:31", "105:22"));
  EXPECT_TRUE(idle());
  EXPECT_EQ(manager->currentFrameIndex, 0);
  EXPECT_EQ(manager->animationFrames.size(), 3U);
  EXPECT_EQ(desktop.prepared, 4) << "a frame is turned into what the bar reads once, when it is added";

  manager->startAnimation();
  desktop.mainQueue().advance(1s);
  EXPECT_THAT(takeShown(), ElementsAre("105:30", "175:31", "210:22")) << "the frames outlive the animation";
}

TEST_F(AnimationTest, TimingForOneAndThirtyFrames) {
  createWithIcon();
  addFrames(1);
  manager->startAnimation();
  desktop.mainQueue().advance(1s);
  EXPECT_THAT(takeShown(), ElementsAre("0:30", "35:22"));

  for (int frame = 1; frame < 30; ++frame) manager->addAnimationFrame(image(30 + frame));
  manager->startAnimation();
  desktop.mainQueue().advance(2s);
  Lines expected{"1000:30"};
  for (int tick = 2; tick < 30; ++tick) {
    expected.push_back(std::to_string(1000 + 35 * tick) + ":" + std::to_string(30 + tick - 1));
  }
  expected.push_back("2050:22");
  EXPECT_EQ(takeShown(), expected);
}

TEST_F(AnimationTest, RefusalsLeaveTheStateAlone) {
  manager->startAnimation();
  EXPECT_THAT(takeLines(), ElementsAre("WARN 动画无法启动：动画帧为空(0)或动画正在运行(false)"));
  addFrames(2);
  manager->startAnimation();
  EXPECT_THAT(takeLines(), ElementsAre("WARN 动画无法启动：按钮不存在"));
  EXPECT_TRUE(idle());
  manager->stopAnimation();
  manager->resetAnimation();
  EXPECT_THAT(takeLines(),
              ElementsAre("WARN 动画停止：按钮不存在", "WARN 动画停止：按钮不存在", "INFO 动画已重置，动画帧数: 0"));
  manager->createTray();
  addFrames(2);
  manager->startAnimation();
  desktop.mainQueue().advance(35ms);
  takeLines();
  manager->startAnimation();
  EXPECT_THAT(takeLines(), ElementsAre("WARN 动画无法启动：动画帧为空(2)或动画正在运行(true)"));
  EXPECT_EQ(manager->currentFrameIndex, 1);
  desktop.mainQueue().advance(1s);
  EXPECT_TRUE(idle());
  EXPECT_THAT(takeLines(), ElementsAre("WARN 动画已停止，但主图标不存在"));
  EXPECT_EQ(takeShown().back(), "70:31") << "without a main icon the last frame stays";
}

TEST_F(AnimationTest, StopResetAndChangesWhileRunning) {
  createWithIcon();
  addFrames(2);
  manager->startAnimation();
  desktop.mainQueue().advance(36ms);
  manager->addAnimationFrame(image(40));
  manager->setMainIcon(image(23));
  desktop.mainQueue().advance(1ms);
  desktop.mainQueue().advance(100ms);
  // The new icon shows until the next tick, and is what the button gets back after the added frame.
  EXPECT_THAT(takeShown(), ElementsAre("0:30", "36:23", "70:31", "105:23"));

  manager->startAnimation();
  takeLines();
  manager->stopAnimation();
  manager->stopAnimation();
  const std::string restored = "INFO 动画已停止，恢复按钮主图标";
  EXPECT_THAT(takeLines(), ElementsAre(restored, restored));
  EXPECT_TRUE(idle());

  manager->startAnimation();
  desktop.mainQueue().advance(35ms);
  takeLines();
  manager->resetAnimation();
  EXPECT_THAT(takeLines(), ElementsAre(restored, "INFO 动画已重置，动画帧数: 0"));
  EXPECT_TRUE(idle() && manager->animationFrames.empty());
}

TEST_F(AnimationTest, LateTicksDoNotMoveLaterOnes) {
  createWithIcon();
  addFrames(4);
  manager->startAnimation();
  desktop.mainQueue().stall(80ms);
  desktop.mainQueue().advance(1s);
  EXPECT_THAT(takeShown(), ElementsAre("80:30", "105:31", "140:32", "175:22"));
}

TEST_F(AnimationTest, TheRunningTimerHoldsTheManager) {
  createWithIcon();
  addFrames(1);
  manager->startAnimation();
  const std::weak_ptr<Manager> weak = manager;
  manager.reset();
  EXPECT_FALSE(weak.expired());
  desktop.mainQueue().advance(35ms);
  EXPECT_TRUE(weak.expired());
}

TEST_F(AnimationTest, OtherThreadsWaitForTheMainThread) {
  createWithIcon();
  std::thread worker([&] {
    manager->addAnimationFrame(image(30));
    manager->startAnimation();
    manager->perform(selectors::kUpdateAnimation, nullptr);
    manager->stopAnimation();
    manager->resetAnimation();
  });
  auto& queue = desktop.mainQueue();
  ASSERT_TRUE(queue.waitAndRunOne());
  EXPECT_EQ(manager->animationFrames.size(), 1U);
  while (!manager->isAnimating) ASSERT_TRUE(queue.waitAndRunOne());
  while (!manager->animationFrames.empty()) ASSERT_TRUE(queue.waitAndRunOne());
  worker.join();
  EXPECT_TRUE(idle());
  EXPECT_EQ(takeLines().back(), "INFO 动画已重置，动画帧数: 0");
}

}  // namespace
}  // namespace quill::testing
