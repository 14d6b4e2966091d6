#include <utility>

#include "log.h"
#include "shortcut.h"
#include "tray_manager.h"

namespace quill {

void TrayManager::setMenuItems(std::vector<MenuItemData> items) {
  auto before = std::exchange(menuItems, std::move(items));
  if (!statusItem) return;
  std::shared_ptr<Menu> replacement;
  try {
    replacement = createMenuFromData();
  } catch (...) {  // std::bad_alloc
    menuItems = std::move(before);
    throw;
  }
  replacement->appearance = effectiveAppearance();
  replaceMenu(replacement);
  logInfo("[TrayManager] 菜单已更新，菜单项数量: " + std::to_string(replacement->items().size()), kLogModule);
}

std::shared_ptr<Menu> TrayManager::createMenuFromData() {
  auto built = createStandardMenu();
  built->appearance = effectiveAppearance();
  for (const auto& record : menuItems) {
    const auto item = MenuItem::make(record.title, selectors::kHandleMenuItemAction, "");
    item->enabled = record.enabled;
    item->action.target = weak_from_this();
    item->representedObject = record.id;
    parseAndSetShortcut(record.keyEquivalent, *item);
    built->addItem(item);
  }
  return built;
}

void TrayManager::parseAndSetShortcut(const std::string& shortcut, MenuItem& item) {
  if (shortcut.empty()) return;
  const auto parsed = parseShortcut(shortcut);
  if (!parsed) {
    logWarning("[TrayManager] 无法解析快捷键：" + shortcut + "，按键部分无效", kLogModule);
    return;
  }
  for (const auto& word : parsed->unknownModifiers) {
    logWarning("[TrayManager] 未知的修饰键：" + word, kLogModule);
  }
  item.keyEquivalent = parsed->keyEquivalent;
  item.keyEquivalentModifierMask = parsed->modifiers;
  logDebug("[TrayManager] 已设置快捷键：" + shortcut + " -> keyEquivalent: " + parsed->keyEquivalent +
               ", modifiers: NSEventModifierFlags(rawValue: " + std::to_string(parsed->modifiers.rawValue) + ")",
           kLogModule);
}

}  // namespace quill
