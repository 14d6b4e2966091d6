#include "menu.h"

namespace quill {

std::shared_ptr<MenuItem> MenuItem::make(std::string title, Selector action, std::string keyEquivalent) {
  auto item = std::make_shared<MenuItem>();
  item->title = std::move(title);
  item->action.selector = action;
  item->keyEquivalent = std::move(keyEquivalent);
  return item;
}

std::shared_ptr<MenuItem> MenuItem::separator() {
  auto item = std::make_shared<MenuItem>();
  item->isSeparator = true;
  return item;
}

bool MenuItem::isChoosable() const {
  return enabled && !isSeparator && (submenu || (!action.selector.empty() && !action.target.expired()));
}

void MenuItem::choose() const {
  if (isChoosable()) action.send(this);
}

}  // namespace quill
