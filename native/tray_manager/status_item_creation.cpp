#include "description.h"
#include "log.h"
#include "log_text.h"
#include "tray_manager.h"

namespace quill {

void TrayManager::createTray() {
  logInfo("[TrayManager] 创建状态项，长度: NSStatusItem.squareLength", kLogModule);
  statusItem = desktop_.makeStatusItem(kSquareStatusItemLength);
  if (!statusItem) {
    logError("[TrayManager] 状态项创建失败", kLogModule);
    return;
  }
  logInfo("[TrayManager] 状态项创建成功: " + statusItem->description(), kLogModule);
  logDebug("[TrayManager] 状态项按钮: " + describeOptional(button()), kLogModule);
  statusItem->setVisible(true);
  logInfo("[TrayManager] 已设置状态项可见", kLogModule);

  if (!menuItems.empty()) {
    const auto built = createMenuFromData();
    replaceMenu(built);
    logInfo("[TrayManager] 已使用动态菜单数据创建菜单，菜单项数量: " + std::to_string(built->items().size()),
            kLogModule);
  } else if (const auto kept = menu) {
    replaceMenu(kept);
    logInfo(
        "[TrayManager] 已设置菜单: " + kept->description() + "，菜单项数量: " + std::to_string(kept->items().size()),
        kLogModule);
  } else {
    replaceMenu(createBasicMenu());
    logInfo("[TrayManager] 已创建并设置基本菜单", kLogModule);
  }

  if (const auto target = button()) {
    target->sendActionOn(kClickEvents);
    target->setTarget(weak_from_this());
    target->setAction(selectors::kHandleClick);
  }
  logInfo("[TrayManager] 已设置点击事件（左键切换窗口，右键显示菜单）", kLogModule);

  if (const auto target = button()) {
    target->setHidden(false);
    target->setFrame({{}, kIconSize});
    target->setContentHuggingPriority(kRequiredLayoutPriority, Orientation::horizontal);
    target->setContentHuggingPriority(kRequiredLayoutPriority, Orientation::vertical);
  }
  logInfo("[TrayManager] 已设置按钮可见", kLogModule);
  logDebug("[TrayManager] 按钮尺寸: " + sizeText(button() ? button()->frame().size : Size{}), kLogModule);
}

}  // namespace quill
