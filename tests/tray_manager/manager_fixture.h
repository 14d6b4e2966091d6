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

/// What was logged since the last call, as "LEVEL message" without the tag; addresses are cut out of
/// descriptions: "<StatusItem>".
inline Lines takeLines() {
  auto& surroundings = memory::Surroundings::current();
  Lines lines;
  for (const auto& line : surroundings.logged()) {
    lines.push_back(line);
    auto& text = lines.back();
    if (const auto tag = text.find("[TrayManager] "); tag != std::string::npos) text.erase(tag, 14);
    for (auto at = text.find(": 0x"); at != std::string::npos; at = text.find(": 0x")) {
      text.erase(at, text.find_first_not_of("0123456789abcdef", at + 4) - at);
    }
  }
  surroundings.clear();
  return lines;
}

/// A manager on a desktop of its own, with its state laid open.
class Manager : public TrayManager {
 public:
  using TrayManager::animatedIconView;
  using TrayManager::animatedView;
  using TrayManager::animationFrames;
  using TrayManager::animationTimer;
  using TrayManager::clickCallback;
  using TrayManager::currentFrameIndex;
  using TrayManager::delegate;
  using TrayManager::isAnimating;
  using TrayManager::mainIcon;
  using TrayManager::mainIconView;
  using TrayManager::make;
  using TrayManager::menu;
  using TrayManager::menuItemCallback;
  using TrayManager::menuItems;
  using TrayManager::statusItem;

 protected:
  using TrayManager::TrayManager;
};

inline Image image(int width, int height = 0) {
  auto pixels = std::make_shared<Pixels>();
  pixels->width = width;
  pixels->height = height == 0 ? width : height;
  pixels->rgba.assign(static_cast<std::size_t>(pixels->width * pixels->height * 4), 0xFF);
  return {pixels, {static_cast<double>(pixels->width), static_cast<double>(pixels->height)}};
}

inline std::vector<std::string> titles(const Menu& menu) {
  std::vector<std::string> all;
  for (const auto& item : menu.items()) all.push_back(item->isSeparator ? "---" : item->title);
  return all;
}

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
