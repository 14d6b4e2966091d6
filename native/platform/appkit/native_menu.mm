#include "native_menu.h"

#include "host_menu.h"

namespace quill::appkit {
namespace {

NSFont* fontOf(Font font) {
  return [NSFont menuFontOfSize:font.size == kSystemFontSize ? [NSFont systemFontSize] : font.size];
}

void applyAppearance(NSMenu* native, const Menu& menu) {
  if (menu.appearance) [native setAppearance:[NSApp effectiveAppearance]];
}

Handle<NSMenuItem> nativeItem(const MenuItem& item, Desktop& desktop) {
  if (item.isSeparator) return Handle<NSMenuItem>(static_cast<NSMenuItem*>([NSMenuItem separatorItem]));
  auto native = Handle<NSMenuItem>::adopt([[NSMenuItem alloc] initWithTitle:toNSString(item.title)
                                                                     action:toSEL(item.action.selector)
                                                              keyEquivalent:toNSString(item.keyEquivalent)]);
  [native.get() setEnabled:item.isChoosable()];
  [native.get() setTarget:desktop.objectFor(item.action.target)];
  if (const auto* const text = std::any_cast<std::string>(&item.representedObject)) {
    [native.get() setRepresentedObject:toNSString(*text)];
  }
  if (!item.keyEquivalent.empty()) {
    [native.get()
        setKeyEquivalentModifierMask:static_cast<NSEventModifierFlags>(item.keyEquivalentModifierMask.rawValue)];
  }
  applyTitle(native.get(), item);
  return native;
}

}  // namespace

Handle<NSMenu> nativeMenu(const Menu& menu, Desktop& desktop) {
  if (const auto* const hosts = dynamic_cast<const HostMenu*>(&menu)) {
    applyAppearance(hosts->native(), menu);
    return Handle<NSMenu>(hosts->native());
  }
  auto native = Handle<NSMenu>::adopt([[NSMenu alloc] initWithTitle:@""]);
  applyLook(native.get(), menu);
  [native.get() setAutoenablesItems:NO];  // otherwise AppKit enables items by the responder chain
  for (const auto& item : menu.items()) [native.get() addItem:nativeItem(*item, desktop).get()];
  return native;
}

void applyLook(NSMenu* native, const Menu& menu) {
  [native setFont:fontOf(menu.font)];
  [native setMinimumWidth:menu.minimumWidth];
  applyAppearance(native, menu);
}

void applyTitle(NSMenuItem* native, const MenuItem& item) {
  if (!item.attributedTitle) return;
  NSDictionary* const attributes = [NSDictionary dictionaryWithObject:fontOf(item.attributedTitle->font)
                                                               forKey:NSFontAttributeName];
  const auto title = Handle<NSAttributedString>::adopt(
      [[NSAttributedString alloc] initWithString:toNSString(item.attributedTitle->text) attributes:attributes]);
  [native setAttributedTitle:title.get()];
}

}  // namespace quill::appkit
