#include "log.h"
#include "tray_manager.h"

namespace quill {

namespace {

constexpr double kHostMenuMinimumWidth = 250.0;  // points
constexpr Font kHostMenuFont{kSystemFontSize};

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): held while the host is called
void TrayManager::setMenu(std::shared_ptr<Menu> hostMenu) {
  replaceMenu(hostMenu);
  hostMenu->font = kHostMenuFont;
  hostMenu->minimumWidth = kHostMenuMinimumWidth;
  hostMenu->appearance = effectiveAppearance();
  // Asks the host's objects, which may call the library: `menu` may be another one after this.
  const auto items = hostMenu->items();
  for (const auto& item : items) item->attributedTitle = AttributedTitle{item->title, kHostMenuFont};
  if (const auto target = button()) target->sendActionOn(kClickEvents);
  logInfo("[TrayManager] 菜单已设置，菜单项数量: " + std::to_string(items.size()), kLogModule);
}

}  // namespace quill
