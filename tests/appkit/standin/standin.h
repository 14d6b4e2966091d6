// What GNUstep lacks of a Mac's AppKit and this library uses.
#pragma once

#import <AppKit/AppKit.h>

#include <functional>

@interface CALayer : NSObject
- (void)setBackgroundColor:(CGColorRef)color;
@end

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

namespace standin {
/// Prepares GNUstep. Call it first.
void install();

/// The newest item of the bar, which does not own it.
inline NSStatusItem* newestItem = nil;

/// Clicks the newest item. A menu that opens closes after `inTheMenu`.
void click(NSEventType type, std::function<void(NSMenu*)> inTheMenu = {});
}  // namespace standin
