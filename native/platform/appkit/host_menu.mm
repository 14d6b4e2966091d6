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
  guarded([this] {
    items_.clear();
    NSArray* const natives = [menu_.get() itemArray];
    for (NSUInteger at = 0; at < [natives count]; ++at) {
      NSMenuItem* const native = [natives objectAtIndex:at];
      items_.push_back(MenuItem::make(toString([native title]), {}, {}));
      items_.back()->representedObject = Handle<NSMenuItem>(native);
    }
  });
  return items_;
}

void HostMenu::lookChanged() {
  guarded([this] {
    applyLook(menu_.get(), *this);
    for (const auto& item : items_) applyTitle(std::any_cast<Handle<NSMenuItem>>(item->representedObject).get(), *item);
  });
}

std::string HostMenu::description() const { return describeObject("NSMenu", menu_.get()); }

}  // namespace quill::appkit
