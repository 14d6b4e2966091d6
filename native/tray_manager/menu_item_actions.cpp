#include "host_callback.h"
#include "log.h"
#include "tray_manager.h"

namespace quill {

void TrayManager::setMenuItemCallback(MenuItemCallback callback) { menuItemCallback = callback; }

void TrayManager::handleMenuItemAction(const MenuItem* sender) {
  const auto* represented = sender ? std::any_cast<std::string>(&sender->representedObject) : nullptr;
  if (!represented) {
    logWarning("[TrayManager] 菜单项点击：无法获取菜单项 ID", kLogModule);
    return;
  }
  if (!menuItemCallback) {
    logWarning("[TrayManager] 菜单项点击：回调函数未设置，菜单项 ID: " + *represented, kLogModule);
    return;
  }
  // A copy, as the callback may replace the menu and so destroy the item.
  const std::string identifier = *represented;
  callHost([&] { menuItemCallback(identifier.c_str()); });
}

}  // namespace quill
