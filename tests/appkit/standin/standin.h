// What GNUstep lacks of a Mac's AppKit and this library uses.
#pragma once

#import <AppKit/AppKit.h>

#undef YES  // GCC's are not Objective-C literals
#undef NO
#define YES __objc_yes
#define NO __objc_no

typedef NSUInteger NSEventModifierFlags;

@class CALayer;
/// The methods of several classes. The cross build checks which class has which method.
@interface NSObject (Mac)
- (NSStatusBarButton*)button;
- (void)setVisible:(BOOL)flag;
- (void)setContentHuggingPriority:(NSLayoutPriority)priority forOrientation:(NSLayoutConstraintOrientation)orientation;
- (void)setWantsLayer:(BOOL)flag;
- (CALayer*)layer;
- (NSAppearance*)effectiveAppearance;
- (void)setFont:(NSFont*)font;
- (void)setMinimumWidth:(CGFloat)width;
- (void)setAppearance:(NSAppearance*)appearance;
- (BOOL)popUpMenuPositioningItem:(NSMenuItem*)item atLocation:(NSPoint)point inView:(NSView*)view;
- (BOOL)isTemplate;
- (void)setTemplate:(BOOL)flag;
- (NSArray*)URLsForDirectory:(NSSearchPathDirectory)directory inDomains:(NSSearchPathDomainMask)mask;
@end

#ifdef __cplusplus
#include <functional>
#include <string>

namespace standin {
/// Prepares GNUstep. Call it first.
void install();

/// The application's appearance.
inline bool isDark = false;
/// Whether the last setVisible: showed or hid an item.
inline bool isVisible = false;
/// Whether the bar refuses items, and whether the system names no user directory.
inline bool refusesItems = false, namesNoDirectory = false;
/// The newest item; nil once it is released. Its bar gives the button a height of 37 soon after each setFrame:.
inline NSStatusItem* newestItem = nil;
/// The next message of this name to the button throws; empty: none.
inline std::string throwsAt;

/// What a user does in an open menu. The menu closes afterwards.
inline std::function<void(NSMenu*)> user;
/// Chooses the item of that title, if there is one and it is enabled.
void choose(NSMenu* menu, const char* title);
/// Clicks the newest item.
void click(NSEventType type, std::function<void(NSMenu*)> inTheMenu = {});
}  // namespace standin
#endif
