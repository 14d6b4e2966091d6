#pragma once

#import <AppKit/AppKit.h>

#include <functional>
#include <memory>

#include "tray.h"

namespace quill::appkit {
class Desktop;
}

/// The Objective-C object through which AppKit and a host call the tray manager's operations by name. The object
/// does not own the manager. The main queue and its timers wrap their work in an object of this class, too. Main
/// thread.
@interface QuillTrayManager : NSObject {
 @private
  quill::appkit::Desktop* _desktop;
  std::weak_ptr<quill::Responder> _manager;
  std::function<void()> _work;
}

/// The object of the process's tray manager, which the first call makes.
+ (QuillTrayManager*)shared;

- (instancetype)initWithManager:(std::weak_ptr<quill::Responder>)manager desktop:(quill::appkit::Desktop*)desktop;
/// Makes an object whose `updateAnimation` runs `work`.
- (instancetype)initWithWork:(std::function<void()>)work;

- (void)createTray;
- (void)setMainIcon:(NSImage*)image;
- (void)setMenu:(NSMenu*)menu;
- (void)handleMenuItemAction:(id)sender;
- (NSMenu*)createStandardMenu;
- (NSMenu*)createBasicMenu;
- (void)quitApplication;
- (void)addAnimationFrame:(NSImage*)image;
- (void)startAnimation;
- (void)stopAnimation;
- (void)resetAnimation;
- (void)handleClick;
- (void)setClickCallback:(void (*)(void))callback;
- (void)updateAnimation;

@end
