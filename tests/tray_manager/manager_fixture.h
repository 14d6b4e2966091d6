#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "log.h"
#include "memory_desktop.h"
#include "memory_environment.h"
#include "tray_manager.h"

namespace quill::testing {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Lines = std::vector<std::string>;

/// What was logged since the last call, as "LEVEL message" without the tag, which each line must have; addresses are
/// cut out of descriptions: "<StatusItem>".
inline Lines takeLines() {
  const std::string tag = "[TrayManager] ";
  Lines lines;
  for (auto text : memory::Environment::current().logged()) {
    EXPECT_THAT(text, ::testing::HasSubstr(' ' + tag));
    for (auto at = text.find(tag); at != std::string::npos; at = text.find(tag, at)) text.erase(at, tag.size());
    for (auto at = text.find(": 0x"); at != std::string::npos; at = text.find(": 0x", at)) {
      text.erase(at, text.find_first_not_of("0123456789abcdef", at + 4) - at);
    }
    lines.push_back(text);
  }
  memory::Environment::current().clear();
  return lines;
}

/// A manager on a desktop of its own, with its state laid open.
struct Manager : TrayManager {
  using TrayManager::animatedIconView, TrayManager::animatedView, TrayManager::animationFrames,
      TrayManager::animationTimer, TrayManager::currentFrameIndex, TrayManager::delegate, TrayManager::isAnimating,
      TrayManager::mainIcon, TrayManager::mainIconView, TrayManager::make, TrayManager::menu, TrayManager::statusItem,
      TrayManager::TrayManager;
};

/// Only its size is looked at here.
inline Image image(int width, int height = 22) {
  return {std::make_shared<Pixels>(Pixels{width, height, {}}), {1.0 * width, 1.0 * height}};
}

/// What the host was told since it was last looked at.
inline Lines told;
inline void tellClick() { told.emplace_back("click"); }
inline void tellChoice(const char* identifier) { told.emplace_back(identifier); }

class ManagerTest : public ::testing::Test {
 protected:
  ManagerTest() { told.clear(), takeLines(); }

  memory::Desktop desktop;
  std::shared_ptr<Manager> manager = Manager::make<Manager>(desktop);
};

}  // namespace quill::testing
