#include <utility>

#include "log.h"
#include "shortcut.h"
#include "tray_manager.h"

namespace quill {

constexpr double kHostMenuMinimumWidth = 250.0;  // points
constexpr Font kHostMenuFont{kSystemFontSize};

std::shared_ptr<Menu> TrayManager::createStandardMenu() {
  auto standard = std::make_shared<Menu>();
  standard->font = {kDefaultMenuFontSize};
  standard->minimumWidth = 0.0;
  standard->appearance = effectiveAppearance();
  return standard;
}

std::shared_ptr<Menu> TrayManager::createBasicMenu() {
  auto basic = createStandardMenu();
  const auto settings = MenuItem::make("设置", {}, "");
  const auto quit = MenuItem::make("退出", selectors::kQuitApplication, "q");
  settings->action.target = weak_from_this();
  quit->action.target = weak_from_this();
  basic->addItem(settings);
  basic->addItem(MenuItem::separator());
  basic->addItem(quit);
  return basic;
}

void TrayManager::quitApplication() { desktop_.terminate(); }

// NOLINTNEXTLINE(performance-unnecessary-value-param): a reference of our own while the host is called
void TrayManager::setMenu(std::shared_ptr<Menu> hostMenu) {
  replaceMenu(hostMenu);
  hostMenu->font = kHostMenuFont;
  hostMenu->minimumWidth = kHostMenuMinimumWidth;
  hostMenu->appearance = effectiveAppearance();
  // items() may call the host, and the host may replace `menu`.
  const auto items = hostMenu->items();
  for (const auto& item : items) item->attributedTitle = AttributedTitle{item->title, kHostMenuFont};
  hostMenu->lookChanged();
  if (const auto target = button()) target->sendActionOn(kClickEvents);
  logInfo("[TrayManager] 菜单已设置，菜单项数量: " + std::to_string(items.size()), kLogModule);
}

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
  // A copy, because the callback may replace the menu and so destroy the item.
  const std::string identifier = *represented;
  callHost([&] { menuItemCallback(identifier.c_str()); });
}

}  // namespace quill
