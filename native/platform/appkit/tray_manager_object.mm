#import "tray_manager_object.h"

#include "appkit_desktop.h"
#include "appkit_image.h"
#include "host_menu.h"
#include "native_menu.h"

namespace quill::appkit {
namespace {

/// Calls `use` with the manager if the manager exists and is a `Kind`.
template <typename Kind, typename Use>
void with(const std::weak_ptr<Responder>& manager, Use use) {
  guarded([&] {
    if (const auto found = std::dynamic_pointer_cast<Kind>(manager.lock())) use(*found);
  });
}

}  // namespace
}  // namespace quill::appkit

// Names stay qualified, because Foundation's MacTypes.h declares a global `Handle`, `Point`, `Rect` and more.
namespace appkit = quill::appkit;
using appkit::with;
using quill::Responder;
using quill::Tray;

@implementation QuillTrayManager

+ (QuillTrayManager*)shared {
  return appkit::Desktop::current().objectFor(Tray::shared());
}

- (instancetype)initWithManager:(std::weak_ptr<Responder>)manager desktop:(appkit::Desktop*)desktop {
  if ((self = [super init]) != nil) {
    _manager = std::move(manager);
    _desktop = desktop;
  }
  return self;
}

- (instancetype)initWithWork:(std::function<void()>)work {
  if ((self = [super init]) != nil) _work = std::move(work);
  return self;
}

// Buttons, menu items and timers call these four methods.

- (void)handleClick {
  with<Responder>(_manager, [&](Responder& manager) {
    _desktop->readApplication();
    manager.perform("handleClick", nullptr);
  });
}

- (void)handleMenuItemAction:(id)sender {
  with<Responder>(_manager, [&](Responder& manager) {
    quill::MenuItem chosen;
    id const represented = [sender respondsToSelector:@selector(representedObject)] ? [sender representedObject] : nil;
    if ([represented isKindOfClass:[NSString class]]) chosen.representedObject = appkit::toString(represented);
    manager.perform("handleMenuItemAction:", &chosen);
  });
}

- (void)quitApplication {
  with<Responder>(_manager, [](Responder& manager) { manager.perform("quitApplication", nullptr); });
}

- (void)updateAnimation {
  const appkit::Handle<QuillTrayManager> held(self);  // because `_work` may end the timer that owns this object
  if (_work) return appkit::guarded(_work);
  with<Responder>(_manager, [](Responder& manager) { manager.perform("updateAnimation", nullptr); });
}

// Hosts call the methods below.

- (void)createTray {
  with<Tray>(_manager, [](Tray& tray) { tray.createTray(); });
}

- (void)setMainIcon:(NSImage*)image {
  with<Tray>(_manager, [&](Tray& tray) {
    if (image != nil) tray.setMainIcon(appkit::imageOf(image));
  });
}

- (void)setMenu:(NSMenu*)menu {
  with<Tray>(_manager, [&](Tray& tray) {
    if (auto adopted = appkit::HostMenu::adopt(menu)) tray.setMenu(std::move(adopted));
  });
}

- (NSMenu*)createStandardMenu {
  appkit::Handle<NSMenu> made;
  with<Tray>(_manager, [&](Tray& tray) { made = appkit::nativeMenu(*tray.createStandardMenu(), *_desktop); });
  return [[made.get() retain] autorelease];
}

- (NSMenu*)createBasicMenu {
  appkit::Handle<NSMenu> made;
  with<Tray>(_manager, [&](Tray& tray) { made = appkit::nativeMenu(*tray.createBasicMenu(), *_desktop); });
  return [[made.get() retain] autorelease];
}

- (void)addAnimationFrame:(NSImage*)image {
  with<Tray>(_manager, [&](Tray& tray) {
    if (image != nil) tray.addAnimationFrame(appkit::imageOf(image));
  });
}

- (void)startAnimation {
  with<Tray>(_manager, [](Tray& tray) { tray.startAnimation(); });
}

- (void)stopAnimation {
  with<Tray>(_manager, [](Tray& tray) { tray.stopAnimation(); });
}

- (void)resetAnimation {
  with<Tray>(_manager, [](Tray& tray) { tray.resetAnimation(); });
}

- (void)setClickCallback:(void (*)(void))callback {
  with<Tray>(_manager, [&](Tray& tray) { tray.setClickCallback(callback); });
}

@end
