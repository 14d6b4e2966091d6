#pragma once

#import <AppKit/AppKit.h>

#include <functional>
#include <memory>

#include "tray.h"

namespace quill::appkit {
class Desktop;
}

/// The tray manager as the platform's objects see it: they call its operations by name. It holds the manager weakly.
/// The main queue and its timers use an object of this class, too, which holds their work. Main thread.
@interface QuillTrayManager : NSObject {
 @private
  quill::appkit::Desktop* _desktop;
  std::weak_ptr<quill::Responder> _manager;
  std::function<void()> _work;
}

/// That of the process, made on first use.
+ (QuillTrayManager*)shared;

- (instancetype)initWithManager:(std::weak_ptr<quill::Responder>)manager desktop:(quill::appkit::Desktop*)desktop;
/// An object whose `updateAnimation` runs `work`.
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
