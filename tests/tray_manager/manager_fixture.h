#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "log.h"
#include "memory_desktop.h"
#include "memory_surroundings.h"
#include "tray_manager.h"

namespace quill::testing {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Lines = std::vector<std::string>;

/// What was logged since the last call, as "LEVEL message" without the tag, which each line must have; addresses are
/// cut out of descriptions: "<StatusItem>".
inline Lines takeLines() {
  static const std::regex ignored("\\[TrayManager\\] |: 0x[0-9a-f]+");
  Lines lines;
  for (const auto& text : memory::Surroundings::current().logged()) {
    EXPECT_THAT(text, ::testing::HasSubstr(" [TrayManager] "));
    lines.push_back(std::regex_replace(text, ignored, ""));
  }
  memory::Surroundings::current().clear();
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
