// What GNUstep lacks of a Mac's AppKit and this library uses, as AppKit declares it.
#pragma once

#import <AppKit/AppKit.h>

#undef YES  // GCC's are not Objective-C literals
#undef NO
#define YES __objc_yes
#define NO __objc_no

typedef NSUInteger NSEventModifierFlags;

@class CALayer;
@interface NSStatusItem (Mac)
- (NSStatusBarButton*)button;
- (void)setVisible:(BOOL)flag;
@end
@interface NSView (Mac)
- (void)setWantsLayer:(BOOL)flag;
- (CALayer*)layer;
- (void)setContentHuggingPriority:(NSLayoutPriority)priority forOrientation:(NSLayoutConstraintOrientation)orientation;
@end
@interface NSApplication (Mac)
- (NSAppearance*)effectiveAppearance;
@end
@interface NSMenu (Mac)
- (void)setFont:(NSFont*)font;
- (void)setMinimumWidth:(CGFloat)width;
- (void)setAppearance:(NSAppearance*)appearance;
- (BOOL)popUpMenuPositioningItem:(NSMenuItem*)item atLocation:(NSPoint)point inView:(NSView*)view;
@end
@interface NSImage (Mac)
- (BOOL)isTemplate;
- (void)setTemplate:(BOOL)flag;
@end
@interface NSFileManager (Mac)
- (NSArray*)URLsForDirectory:(NSSearchPathDirectory)directory inDomains:(NSSearchPathDomainMask)mask;
@end

#ifdef __cplusplus
#include <functional>
#include <string>
#include <vector>

namespace standin {
/// Makes the platform record its setters. To be called first.
void install();

/// What was done, in order: "setVisible: 1".
extern std::vector<std::string> record;
/// The application's appearance.
extern bool isDark;
/// Whether an item was made visible last.
extern bool isVisible;
/// The item that was made last; nil once it is gone. Its bar gives the button a height of 37 soon after each change.
extern NSStatusItem* newestItem;
/// The views that were given a layer.
extern std::vector<NSView*> layered;
/// Whether the bar refuses items, and whether the system names no user directory.
extern bool refusesItems, namesNoDirectory;
/// The setter that throws when it is called next; empty: none.
extern std::string throwsAt;

/// What a user does with an open menu, which closes afterwards.
extern std::function<void(NSMenu*)> user;
/// The items of a menu: "title", or "title modifiers key" where it has a shortcut.
std::vector<std::string> itemsOf(NSMenu* menu);
/// Chooses the item of that title, if there is one and it is enabled.
void choose(NSMenu* menu, const std::string& title);
/// A click on the newest item.
void click(NSEventType type);
}  // namespace standin
#endif
