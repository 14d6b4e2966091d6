#include "log.h"
#include "tray_manager.h"

namespace quill {

namespace {

constexpr double kHostMenuMinimumWidth = 250.0;  // points
constexpr Font kHostMenuFont{kSystemFontSize};

}  // namespace

void TrayManager::setMenu(std::shared_ptr<Menu> hostMenu) {
  replaceMenu(std::move(hostMenu));
  menu->font = kHostMenuFont;
  menu->minimumWidth = kHostMenuMinimumWidth;
  menu->appearance = effectiveAppearance();
  for (const auto& item : menu->items()) item->attributedTitle = AttributedTitle{item->title, kHostMenuFont};
  menu->lookChanged();
  if (const auto target = button()) target->sendActionOn(kClickEvents);
  logInfo("[TrayManager] 菜单已设置，菜单项数量: " + std::to_string(menu->items().size()), kLogModule);
}

}  // namespace quill
