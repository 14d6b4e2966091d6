#include <new>
#include <utility>

#include "description.h"
#include "log.h"
#include "tray_manager.h"

namespace quill {

constexpr std::chrono::milliseconds kTickInterval{35};

void TrayManager::onMainThread(const std::function<void(TrayManager&)>& body, std::function<void()> afterwards) {
  const auto work = [weak = weak_from_this(), body] {
    if (const auto self = weak.lock()) body(*self);
  };
  desktop_.mainQueue().run(work, std::move(afterwards));
}

void TrayManager::addAnimationFrame(const Image& image) {
  onMainThread([image](TrayManager& manager) { manager.addAnimationFrameSync(image); });
}

void TrayManager::addAnimationFrameSync(const Image& image) { animationFrames.push_back(templateCopy(image)); }

void TrayManager::startAnimation() {
  onMainThread([](TrayManager& manager) { manager.startAnimationSync(); });
}

void TrayManager::startAnimationSync() {
  const auto frames = std::to_string(animationFrames.size());
  if (animationFrames.empty() || isAnimating) {
    logWarning("[TrayManager] 动画无法启动：动画帧为空(" + frames + ")或动画正在运行(" + flagText(isAnimating) + ")",
               kLogModule);
    return;
  }
  isAnimating = true;
  currentFrameIndex = 0;
  const auto target = button();
  if (!target) {
    logWarning("[TrayManager] 动画无法启动：按钮不存在", kLogModule);
    isAnimating = false;
    return;
  }
  try {
    target->showImageOnly();
    target->setImage(animationFrames.front());
    logDebug("[TrayManager] 设置动画第一帧，图像: " + animationFrames.front().description(), kLogModule);
    target->setHidden(false);
    target->setAlphaValue(1.0);
    target->setNeedsDisplay(true);
    logInfo("[TrayManager] 开始动画，总帧数: " + frames + "，直接更新按钮图像", kLogModule);
    animationTimer = desktop_.mainQueue().repeat(
        kTickInterval, [holder = shared_from_this(), tick = Action{selectors::kUpdateAnimation, weak_from_this()}] {
          tick.send(nullptr);
        });
  } catch (const std::bad_alloc&) {
    isAnimating = false;
    throw;
  }
}

void TrayManager::stopAnimation() {
  onMainThread([](TrayManager& manager) { manager.stopAnimationSync(); });
}

void TrayManager::stopAnimationSync() {
  const auto self = shared_from_this();  // the timer may hold the only other reference
  isAnimating = false;
  if (animationTimer) animationTimer->invalidate();
  animationTimer = nullptr;
  const auto target = button();
  if (!target) {
    logWarning("[TrayManager] 动画停止：按钮不存在", kLogModule);
    return;
  }
  currentFrameIndex = 0;
  if (!mainIcon) {
    logWarning("[TrayManager] 动画已停止，但主图标不存在", kLogModule);
    return;
  }
  target->setImage(*mainIcon);
  target->showImageOnly();
  target->setNeedsDisplay(true);
  logInfo("[TrayManager] 动画已停止，恢复按钮主图标", kLogModule);
}

void TrayManager::resetAnimation() {
  const auto frames = std::make_shared<std::size_t>(0);
  onMainThread(
      [frames](TrayManager& manager) {
        manager.stopAnimationSync();
        std::vector<Image>().swap(manager.animationFrames);
        *frames = manager.animationFrames.size();
      },
      [frames] { logInfo("[TrayManager] 动画已重置，动画帧数: " + std::to_string(*frames), kLogModule); });
}

void TrayManager::updateAnimation() {
  if (!desktop_.mainQueue().isCurrent()) {
    desktop_.mainQueue().post([weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->updateAnimation();
    });
    return;
  }
  if (!isAnimating || animationFrames.empty()) {
    stopAnimation();
    return;
  }
  if (const auto target = button()) {
    target->setImage(animationFrames[static_cast<std::size_t>(currentFrameIndex)]);
    target->setNeedsDisplay(true);
  }
  ++currentFrameIndex;
  if (currentFrameIndex >= static_cast<std::int64_t>(animationFrames.size())) stopAnimation();
}

}  // namespace quill
