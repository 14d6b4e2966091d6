#include "log.h"
#include "tray_manager.h"

namespace quill {

constexpr double kHostMenuMinimumWidth = 250.0;  // points
constexpr Font kHostMenuFont{kSystemFontSize};

// NOLINTNEXTLINE(performance-unnecessary-value-param): held while the host is called
void TrayManager::setMenu(std::shared_ptr<Menu> hostMenu) {
  replaceMenu(hostMenu);
  hostMenu->font = kHostMenuFont;
  hostMenu->minimumWidth = kHostMenuMinimumWidth;
  hostMenu->appearance = effectiveAppearance();
  // Calls the host, which may replace `menu`.
  const auto items = hostMenu->items();
  for (const auto& item : items) item->attributedTitle = AttributedTitle{item->title, kHostMenuFont};
  hostMenu->lookChanged();
  if (const auto target = button()) target->sendActionOn(kClickEvents);
  logInfo("[TrayManager] 菜单已设置，菜单项数量: " + std::to_string(items.size()), kLogModule);
}

}  // namespace quill
