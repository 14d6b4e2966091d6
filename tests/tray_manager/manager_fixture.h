#pragma once

#include "log.h"
#include "memory_desktop.h"
#include "memory_environment.h"
#include "testing.h"
#include "tray_manager.h"

namespace quill {

/// What was logged since the last call, as "LEVEL message" without the tag, which each line must have behind its
/// module; addresses are cut out of descriptions: "<StatusItem>".
inline Lines takeLines() {
  const std::string tag = "[TrayManager] ";
  auto& environment = memory::Environment::current();
  auto lines = environment.logged();
  for (auto& line : lines) {
    line.erase(line.find(tag), tag.size());
    if (const auto at = line.find(": 0x"); at != std::string::npos)
      line.erase(at, line.find_first_not_of("0123456789abcdef", at + 4) - at);
  }
  EXPECT_THAT(environment.console(), Each(StartsWith(tag + tag)));
  return environment.clear(), lines;
}

/// A manager on a desktop of its own, with its state laid open.
struct Manager : TrayManager {
  using TrayManager::animatedIconView, TrayManager::animatedView, TrayManager::animationFrames,
      TrayManager::animationTimer, TrayManager::currentFrameIndex, TrayManager::delegate, TrayManager::isAnimating,
      TrayManager::mainIcon, TrayManager::mainIconView, TrayManager::make, TrayManager::menu, TrayManager::statusItem,
      TrayManager::TrayManager;

  bool perform(Selector selector, const MenuItem* sender) override {
    performed.emplace_back(selector);
    return TrayManager::perform(selector, sender);
  }
  std::shared_ptr<Menu> createStandardMenu() override {
    performed.emplace_back("standard menu");
    return hasMemory ? TrayManager::createStandardMenu() : throw std::bad_alloc();
  }
  std::shared_ptr<Menu> createBasicMenu() override {
    return performed.emplace_back("basic menu"), TrayManager::createBasicMenu();
  }
  Lines performed;
  bool hasMemory = true;
};

/// Only its size is looked at here.
inline Image image(int width, int height = 22) {
  return {std::make_shared<Pixels>(Pixels{width, height, {}}), {1.0 * width, 1.0 * height}};
}

/// All that a host can change about how a button looks, but for its image.
inline auto look(const StatusBarButton& button) {
  return std::tuple(button.imagePosition(), button.isBordered(), button.isTransparent(), button.isHidden(),
                    button.alphaValue());
}
inline const std::tuple kImageOnly{ImagePosition::imageOnly, false, false, false, 1.0};
inline void spoilLook(StatusBarButton& button) {
  button.setImagePosition(ImagePosition::none), button.setBordered(true), button.setTransparent(true);
  button.setHidden(true), button.setAlphaValue(0.5);
}

/// What the host was told since it was last looked at.
inline Lines told;
inline void tellClick() { told.emplace_back("click"); }
inline void tellChoice(const char* identifier) { told.emplace_back(identifier); }

class ManagerTest : public Test {
 protected:
  ManagerTest() { told.clear(); }
  ~ManagerTest() override { takeLines(); }

  memory::Desktop desktop;
  std::shared_ptr<Manager> manager = Manager::make<Manager>(desktop);
};

}  // namespace quill
