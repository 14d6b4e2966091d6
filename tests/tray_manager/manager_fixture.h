#pragma once

#include "memory_desktop.h"
#include "memory_environment.h"
#include "testing.h"
#include "tray_manager.h"

namespace quill {

/// Returns what was logged since the last call, as "LEVEL message" without the message's tag and without addresses.
inline Lines takeLines() {
  auto& environment = memory::Environment::current();
  EXPECT_THAT(environment.console(), Each(StartsWith("[TrayManager] [TrayManager] ")));
  auto lines = environment.logged();
  const std::string tag = "[TrayManager] ";
  for (auto& line : lines) line = withoutAddresses(line.erase(line.find(tag), tag.size()));
  environment.clear();
  return lines;
}

/// A manager whose state tests may read. It counts the standard menus that it makes.
struct Manager : TrayManager {
  using TrayManager::animatedIconView, TrayManager::animatedView, TrayManager::mainIconView,
      TrayManager::animationFrames, TrayManager::currentFrameIndex, TrayManager::delegate, TrayManager::isAnimating,
      TrayManager::mainIcon, TrayManager::make, TrayManager::menu, TrayManager::statusItem, TrayManager::TrayManager;

  std::shared_ptr<Menu> createStandardMenu() override {
    ++standardMenus;
    return TrayManager::createStandardMenu();
  }
  int standardMenus = 0;
};

/// An image without content. Tests tell images apart by their widths.
inline Image image(int width) { return {std::make_shared<Pixels>(Pixels{width, 22, {}}), {1.0 * width, 22.0}}; }

/// Whether a user sees the button's image and nothing else.
inline bool showsImageOnly(const StatusBarButton& button) {
  return button.imagePosition() == ImagePosition::imageOnly && !button.isBordered() && !button.isTransparent() &&
         !button.isHidden() && button.alphaValue() == 1.0;
}

/// The calls of the host's functions, in order.
inline Lines told;
inline void tellClick() { told.emplace_back("click"); }
inline void tellChoice(const char* identifier) { told.emplace_back(identifier); }

class ManagerTest : public Test {
 protected:
  ~ManagerTest() override {
    takeLines();
    told.clear();
  }

  memory::Desktop desktop;
  std::shared_ptr<Manager> manager = Manager::make<Manager>(desktop);
};

}  // namespace quill
