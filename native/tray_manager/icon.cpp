#include "description.h"
#include "log.h"
#include "tray_manager.h"

namespace quill {

Image TrayManager::templateCopy(const Image& image) {
  Image copy = image;
  copy.setTemplate(true);
  copy.setSize(kIconSize);
  desktop_.prepare(copy);
  return copy;
}

void TrayManager::setMainIcon(const Image& image) {
  logDebug("[TrayManager] 设置主图标，原始图标: " + image.description(), kLogModule);
  logDebug("[TrayManager] 原始图标尺寸: " + sizeText(image.size()), kLogModule);
  logDebug("[TrayManager] 原始图标是否为模板: " + flagText(image.isTemplate()), kLogModule);

  const Image copy = templateCopy(image);
  mainIcon = copy;
  mainIconView->setImage(copy);
  mainIconView->setAlphaValue(1.0);
  animatedIconView->setAlphaValue(0.0);
  desktop_.present(animatedView);
  logDebug("[TrayManager] 模板图标尺寸: " + sizeText(copy.size()), kLogModule);
  logDebug("[TrayManager] 模板图标是否为模板: " + flagText(copy.isTemplate()), kLogModule);
  logDebug("[TrayManager] statusItem: " + describeOptional(statusItem), kLogModule);
  const auto target = button();
  logDebug("[TrayManager] statusItem.button: " + describeOptional(target), kLogModule);
  if (!target) return;

  if (const Rect frame = target->frame(); frame.size != kIconSize) {
    target->setFrame({frame.origin, kIconSize});
    logDebug("[TrayManager] 已重置按钮尺寸为: " + sizeText(kIconSize), kLogModule);
  }
  target->showImageOnly();
  target->setImage(copy);
  logInfo("[TrayManager] 使用直接图像模式设置图标", kLogModule);
  target->setHidden(false);
  target->setAlphaValue(1.0);
  logDebug("[TrayManager] 按钮尺寸: " + sizeText(target->frame().size), kLogModule);
}

}  // namespace quill
