// Enough of a menu bar to run the library under GNUstep. The stand-in prints the messages that the library sends to
// AppKit. It cannot show what a Mac makes of these messages.
#import <GNUstepBase/GSObjCRuntime.h>
#import <QuartzCore/QuartzCore.h>

#include <array>
#include <bit>

namespace {

std::function<void(NSMenu*)> user;

NSString* textOf(id value) {
  if ([value isKindOfClass:[NSFont class]]) return [NSString stringWithFormat:@"%g", [value pointSize]];
  if ([value isKindOfClass:[NSImage class]]) {
    return [NSString stringWithFormat:@"%@ template %d", NSStringFromSize([(NSImage*)value size]), [value isTemplate]];
  }
  return NSStringFromClass([value class]);
}

/// Prints a message with one argument.
void print(NSInvocation* message) {
  std::array<NSInteger, 4> bits{};
  [message getArgument:bits.data() atIndex:2];
  NSString* value = [NSString stringWithFormat:@"%ld", bits[0]];
  const char type = *[[message methodSignature] getArgumentTypeAtIndex:2];
  if (type == '@') value = textOf(reinterpret_cast<id>(bits[0]));
  if (type == ':') value = NSStringFromSelector(reinterpret_cast<SEL>(bits[0]));
  if (type == 'd') value = [NSString stringWithFormat:@"%g", std::bit_cast<double>(bits[0])];
  if (type == '{') value = NSStringFromRect(std::bit_cast<NSRect>(bits));
  GSPrintf(stdout, @"  %@ %@ %@\n", textOf([message target]), NSStringFromSelector([message selector]), value);
}

}  // namespace

/// An item that is its own button.
@interface StandInItem : NSObject {
  NSStatusBarButton* button;
}
@end
@implementation StandInItem
- (id)init {
  button = [[NSStatusBarButton alloc] initWithFrame:NSMakeRect(0, 0, 22, 22)];
  standin::newestItem = static_cast<id>(self);
  return self;
}
- (void)dealloc {
  GSPrintf(stdout, @"  the item leaves the bar\n");
  [button release];
  [super dealloc];
}
- (NSStatusBarButton*)button {
  return static_cast<id>(self);
}
- (void)setContentHuggingPriority:(NSLayoutPriority)priority forOrientation:(NSLayoutConstraintOrientation)orientation {
  GSPrintf(stdout, @"  setContentHuggingPriority: %g forOrientation: %d\n", static_cast<double>(priority), orientation);
}
- (NSMethodSignature*)methodSignatureForSelector:(SEL)selector {
  return [button methodSignatureForSelector:selector];
}
- (void)forwardInvocation:(NSInvocation*)message {
  if ([[message methodSignature] numberOfArguments] > 2) print(message);
  if ([button respondsToSelector:[message selector]]) [message invokeWithTarget:button];
}
@end

#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wincomplete-implementation"  // forwardInvocation: handles the missing methods
#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation"  // replaces methods of GNUstep
@implementation NSObject (Mac)
- (void)forwardInvocation:(NSInvocation*)message {
  if (![NSStringFromSelector([message selector]) hasPrefix:@"set"]) [self doesNotRecognizeSelector:[message selector]];
  print(message);
}
- (void)performSelectorOnMainThread:(SEL)selector withObject:(id)object waitUntilDone:(BOOL)waits {
  [self performSelectorOnMainThread:selector withObject:object waitUntilDone:waits modes:@[ NSRunLoopCommonModes ]];
}
- (CALayer*)layer {
  return nil;
}
- (CGColorRef)CGColor {
  return nullptr;
}
- (NSAppearance*)effectiveAppearance {
  return [[NSAppearance appearanceNamed:NSAppearanceNameDarkAqua] autorelease];  // gnustep-gui 0.29 leaves that out
}
- (void)setAppearance:(NSAppearance*)appearance {
  GSPrintf(stdout, @"  %@ setAppearance: %@\n", textOf(self), [appearance name]);
}
- (BOOL)popUpMenuPositioningItem:(NSMenuItem*)item atLocation:(NSPoint)point inView:(NSView*)view {
  GSPrintf(stdout, @"  menu opens at %@ in %@\n", NSStringFromPoint(point), textOf(view));
  for (NSMenuItem* each in [(NSMenu*)self itemArray]) {
    GSPrintf(stdout, @"  - %@ enabled %d %lx %@ %@ %@\n", [each title], [each isEnabled],
             [each keyEquivalentModifierMask], [each keyEquivalent], textOf([each target]),
             NSStringFromSelector([each action]));
  }
  user((NSMenu*)self);
  return YES;
}
// Stores the template flag in a flag that copies of an image have, too, and that matters on no screen with colours.
- (BOOL)isTemplate {
  return ![(NSImage*)self prefersColorMatch];
}
- (void)setTemplate:(BOOL)flag {
  [(NSImage*)self setPrefersColorMatch:!flag];
}
- (NSArray*)URLsForDirectory:(NSSearchPathDirectory)directory inDomains:(NSSearchPathDomainMask)mask {
  return @[ [NSURL fileURLWithPath:[NSString stringWithUTF8String:getenv("HOME")] isDirectory:YES] ];
}
@end
@implementation NSMenuItem (StandIn)
- (void)setAttributedTitle:(NSAttributedString*)title {
  GSPrintf(stdout, @"  setAttributedTitle: %@ %@\n", [title string],
           textOf([title attribute:NSFontAttributeName atIndex:0 effectiveRange:nullptr]));
}
@end
@implementation NSStatusBar (StandIn)
+ (NSStatusBar*)systemStatusBar {
  return static_cast<id>(self);
}
+ (NSStatusItem*)statusItemWithLength:(CGFloat)length {
  GSPrintf(stdout, @"  statusItemWithLength: %g\n", length);
  return static_cast<id>([[[StandInItem alloc] init] autorelease]);
}
@end
@implementation NSApplication (StandIn)
- (void)terminate:(id)sender {
  GSPrintf(stdout, @"  terminate: %@\n", textOf(sender));
}
@end
// GNUstep's own workspace starts the daemon gdnc and then waits for lock files that all processes of a user share.
// After some seconds it throws "Failed to lock names" (gnustep-base 1.28, NSMessagePortNameServer).
@implementation NSWorkspace (StandIn)
+ (NSWorkspace*)sharedWorkspace {
  return static_cast<id>(self);
}
+ (BOOL)openURL:(NSURL*)url {
  GSPrintf(stdout, @"  openURL: %@\n", [url absoluteString]);
  return YES;
}
@end
#pragma clang diagnostic pop

void standin::install() {
  setvbuf(stdout, nullptr, _IONBF, 0);  // because the log writes to the same file without this buffer
  // gnustep-base 1.28 replaces its locks when the first thread starts (GSLazyRecursiveLock). A thread that NSThread did
  // not start replaces them while the main thread may hold one, and then "failed to unlock mutex" is thrown. Therefore
  // an NSThread starts first.
  [NSThread detachNewThreadSelector:@selector(self) toTarget:[NSObject class] withObject:nil];
  [NSRunLoop mainRunLoop];  // without a main run loop gnustep-base 1.28 performs posted work at once
}

void standin::click(NSEventType type, std::function<void(NSMenu*)> inTheMenu) {
  user = std::move(inTheMenu);
  NSEvent* const event = [[[NSEvent alloc] init] autorelease];
  [event setValue:@(type) forKey:@"event_type"];
  [NSApp setValue:event forKey:@"current_event"];
  [NSApp sendAction:[[newestItem button] action] to:[[newestItem button] target] from:nil];
  GSPrintf(stdout, @"  the click is over\n");
}
