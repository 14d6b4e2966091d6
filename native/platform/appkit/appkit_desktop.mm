#include "appkit_desktop.h"

#include <algorithm>

#include "appkit_image.h"
#include "host_menu.h"
#include "no_destructor.h"
#include "status_bar_item.h"

namespace quill {

Desktop& Desktop::current() { return appkit::Desktop::current(); }

namespace appkit {

Desktop& Desktop::current() {
  static NoDestructor<Desktop> desktop;
  return desktop.get();
}

std::shared_ptr<StatusItem> Desktop::makeStatusItem(double length) {
  std::shared_ptr<StatusItem> made;
  guarded([&] {
    [NSApplication sharedApplication];  // the bar needs an application object
    readApplication();
    NSStatusItem* const item = [[NSStatusBar systemStatusBar] statusItemWithLength:length];
    if (item == nil) return;
    const bool hasButton = [item button] != nil;
    made = StatusItem::make(length, mainQueue_, std::make_unique<StatusBarItem>(*this, item), hasButton);
  });
  return made;
}

void Desktop::prepare(Image& image) {
  guarded([&] {
    const auto copy = Handle<NSImage>::adopt([nativeImage(image) copy]);
    [copy.get() setTemplate:image.isTemplate()];
    [copy.get() setSize:NSMakeSize(image.size().width, image.size().height)];
    image.setPicture(std::make_shared<NativePicture>(copy.get()));
  });
}

std::shared_ptr<Menu> Desktop::adoptMenu(const void* menu) { return HostMenu::adopt(static_cast<id>(menu)); }

void Desktop::openUrl(const Url& url) {
  guarded([&] { [[NSWorkspace sharedWorkspace] openURL:[NSURL URLWithString:toNSString(url.text)]]; });
}

void Desktop::terminate() {
  guarded([] { [[NSApplication sharedApplication] terminate:[QuillTrayManager shared]]; });
}

QuillTrayManager* Desktop::objectFor(const std::weak_ptr<Responder>& responder) {
  std::erase_if(objects_, [](const Object& known) { return known.responder.expired(); });
  if (responder.expired()) return nil;
  for (const auto& known : objects_) {
    if (known.responder.lock() == responder.lock()) return known.object.get();
  }
  auto object = Handle<QuillTrayManager>::adopt([[QuillTrayManager alloc] initWithManager:responder desktop:this]);
  return objects_.emplace_back(Object{responder, std::move(object)}).object.get();
}

void Desktop::readApplication() {
  application.reset();
  if (NSApp == nil) return;
  application.emplace();
  if (NSEvent* const event = [NSApp currentEvent]; event != nil) {
    application->currentEvent = Event{static_cast<EventType>([event type])};
  }
  NSArray* const looks = [NSArray arrayWithObjects:NSAppearanceNameAqua, NSAppearanceNameDarkAqua, nil];
  NSString* const look = [[NSApp effectiveAppearance] bestMatchFromAppearancesWithNames:looks];
  if ([look isEqualToString:NSAppearanceNameDarkAqua]) application->effectiveAppearance = Appearance::dark;
}

}  // namespace appkit
}  // namespace quill
