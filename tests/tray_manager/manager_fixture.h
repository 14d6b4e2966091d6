#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
  const std::string tag = " [TrayManager] ";
  Lines lines;
  for (auto text : memory::Surroundings::current().logged()) {
    const auto found = text.find(tag);
    found == std::string::npos ? text.insert(0, "no tag: ") : text.replace(found, tag.size(), " ");
    for (auto at = text.find(": 0x"); at != std::string::npos; at = text.find(": 0x")) {
      text.erase(at, text.find_first_not_of("0123456789abcdef", at + 4) - at);
    }
    lines.push_back(text);
  }
  memory::Surroundings::current().clear();
  return lines;
}

/// A manager on a desktop of its own, with its state laid open.
class Manager : public TrayManager {
 public:
  using TrayManager::animatedIconView, TrayManager::animatedView, TrayManager::animationFrames,
      TrayManager::animationTimer, TrayManager::currentFrameIndex, TrayManager::delegate, TrayManager::isAnimating,
      TrayManager::mainIcon, TrayManager::mainIconView, TrayManager::make, TrayManager::menu, TrayManager::statusItem;

 protected:
  using TrayManager::TrayManager;
};

inline Image image(int width, int height) {
  const std::vector<std::uint8_t> white(static_cast<std::size_t>(width * height * 4), 0xFF);
  return {std::make_shared<Pixels>(Pixels{width, height, white}),
          {static_cast<double>(width), static_cast<double>(height)}};
}
inline Image image(int side) { return image(side, side); }

/// What the host's C callbacks were told.
struct Host {
  static inline int clicks = 0;
  static inline std::vector<std::string> chosen;
  static void click() { ++clicks; }
  static void choose(const char* identifier) { chosen.emplace_back(identifier); }
};

class ManagerTest : public ::testing::Test {
 protected:
  ManagerTest() { Host::clicks = 0, Host::chosen.clear(), takeLines(); }

  memory::Desktop desktop;
  std::shared_ptr<Manager> manager = Manager::make<Manager>(desktop);
};

}  // namespace quill::testing
