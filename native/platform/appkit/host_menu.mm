#include "host_menu.h"

#include "description.h"
#include "native_menu.h"

namespace quill::appkit {

std::shared_ptr<HostMenu> HostMenu::adopt(id menu) {
  std::shared_ptr<HostMenu> adopted;
  guarded([&] {
    if ([menu isKindOfClass:[NSMenu class]]) adopted = std::make_shared<HostMenu>(static_cast<NSMenu*>(menu));
  });
  return adopted;
}

Menu::Items HostMenu::items() const {
  Items items;
  guarded([&] {
    NSArray* const natives = [menu_.get() itemArray];
    for (NSUInteger at = 0; at < [natives count]; ++at) {
      NSMenuItem* const native = [natives objectAtIndex:at];
      items.push_back(MenuItem::make(toString([native title]), {}, {}));
      items.back()->representedObject = Handle<NSMenuItem>(native);
    }
  });
  items_.assign(items.begin(), items.end());
  return items;
}

void HostMenu::lookChanged() {
  guarded([this] {
    applyLook(menu_.get(), *this);
    for (const auto& read : items_) {
      const auto item = read.lock();
      if (item) applyTitle(std::any_cast<Handle<NSMenuItem>>(item->representedObject).get(), *item);
    }
  });
}

std::string HostMenu::description() const { return describeObject("NSMenu", menu_.get()); }

}  // namespace quill::appkit
