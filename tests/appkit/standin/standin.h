// What GNUstep lacks of a Mac's AppKit and this library uses, as AppKit declares it. The bodies record what they are
// told.
#pragma once

#import <AppKit/AppKit.h>

#undef YES  // GCC's are not Objective-C literals
#undef NO
#define YES __objc_yes
#define NO __objc_no

typedef NSUInteger NSEventModifierFlags;

@interface CALayer : NSObject
- (void)setBackgroundColor:(CGColorRef)color;
@end
@interface NSStatusItem (StandIn)
- (NSStatusBarButton*)button;
- (void)setVisible:(BOOL)flag;
@end
@interface NSView (StandIn)
- (void)setWantsLayer:(BOOL)flag;
- (CALayer*)layer;
- (void)setContentHuggingPriority:(NSLayoutPriority)priority forOrientation:(NSLayoutConstraintOrientation)orientation;
@end
@interface NSApplication (StandIn)
- (NSAppearance*)effectiveAppearance;
@end
@interface NSMenu (StandIn)
- (void)setFont:(NSFont*)font;
- (void)setMinimumWidth:(CGFloat)width;
- (void)setAppearance:(NSAppearance*)appearance;
- (BOOL)popUpMenuPositioningItem:(NSMenuItem*)item atLocation:(NSPoint)point inView:(NSView*)view;
@end
@interface NSImage (StandIn)
- (BOOL)isTemplate;
- (void)setTemplate:(BOOL)flag;
@end
@interface NSFileManager (StandIn)
- (NSArray*)URLsForDirectory:(NSSearchPathDirectory)directory inDomains:(NSSearchPathDomainMask)mask;
@end

#ifdef __cplusplus
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace standin {
/// What was done, in order: "setVisible: 1".
extern std::vector<std::string> record;
/// The application's look.
extern bool isDark;
/// The views that were given a layer.
extern std::vector<NSView*> layered;
/// The item that was made last; nil once it is gone.
extern NSStatusItem* newestItem;
/// The titles of the menu that popped up last.
extern std::vector<std::string> titles;
/// What a user chooses from menus, by title; an empty title: nothing. Without it they are shown on the screen.
extern std::optional<std::string> choice;
/// Whether the next status item asked for is refused, and whether it throws.
extern bool refuses, throws;
}  // namespace standin
#endif
