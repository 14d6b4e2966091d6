#include "tray_manager.h"

namespace quill {

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

}  // namespace quill
