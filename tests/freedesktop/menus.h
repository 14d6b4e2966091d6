#pragma once

#include <memory>
#include <string>
#include <vector>

#include "menu.h"

namespace quill::freedesktop {

struct Row {
  std::string id;
  std::string title;
  bool enabled = true;
  std::string key = {};
  ModifierFlags modifiers = {};
};

inline std::shared_ptr<Menu> menuOf(const std::vector<Row>& rows, const std::shared_ptr<Responder>& target) {
  auto menu = std::make_shared<Menu>();
  for (const auto& row : rows) {
    auto item = MenuItem::make(row.title, "choose:", row.key);
    item->keyEquivalentModifierMask = row.modifiers;
    item->enabled = row.enabled;
    item->action.target = target;
    item->representedObject = row.id;
    menu->addItem(std::move(item));
  }
  return menu;
}

/// Notes what it is told: "selector identifier".
class Host : public Responder {
 public:
  bool perform(Selector selector, const MenuItem* sender) override {
    const auto* id = sender != nullptr ? std::any_cast<std::string>(&sender->representedObject) : nullptr;
    told.push_back(std::string(selector) + (id != nullptr ? " " + *id : ""));
    if (onPerform) onPerform();
    return true;
  }
  std::vector<std::string> told;
  std::function<void()> onPerform;
};

}  // namespace quill::freedesktop
