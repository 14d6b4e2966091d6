// Enough of a menu bar to run the library under GNUstep. Shows what the library calls on the platform, never what a Mac
// makes of it.
#include <QuartzCore/QuartzCore.h>

#include <bit>

namespace {

void print(NSString* format, ...) {
  va_list values;
  va_start(values, format);
  std::printf("  %s\n", [[[[NSString alloc] initWithFormat:format arguments:values] autorelease] UTF8String]);
  va_end(values);
  std::fflush(stdout);
}

NSString* textOf(id value) {
  if ([value isKindOfClass:[NSFont class]]) return [NSString stringWithFormat:@"%g", [(NSFont*)value pointSize]];
  if ([value isKindOfClass:[NSImage class]]) {
    return [NSString stringWithFormat:@"%@ template %d", NSStringFromSize([(NSImage*)value size]), [value isTemplate]];
  }
  if ([value isKindOfClass:[NSImageView class]]) {
    NSImageView* const view = value;
    return [NSString stringWithFormat:@"view %lu in superview %d hidden %d alpha %g resized %lu scaled %lu showing %@",
                                      [[[view superview] subviews] indexOfObject:view], [view superview] != nil,
                                      [view isHidden], [view alphaValue], [view autoresizingMask], [view imageScaling],
                                      textOf([view image])];
  }
  return NSStringFromClass([value class]);
}

/// For messages with one argument.
void print(NSInvocation* message) {
  NSInteger bits = 0;
  [message getArgument:&bits atIndex:2];
  NSString* value = [NSString stringWithFormat:@"%ld", bits];
  const char type = *[[message methodSignature] getArgumentTypeAtIndex:2];
  if (type == '@') value = textOf(reinterpret_cast<id>(bits));
  if (type == ':') value = NSStringFromSelector(reinterpret_cast<SEL>(bits));
  if (type == 'd') value = [NSString stringWithFormat:@"%g", std::bit_cast<double>(bits)];

  NSString* const name = NSStringFromSelector([message selector]);
  print(@"%@ %@ %@", textOf([message target]), name, value);
  if (standin::throwsAt != [name UTF8String]) return;
  standin::throwsAt.clear();
  [NSException raise:NSInternalInconsistencyException format:@"not today"];
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
  print(@"the item leaves the bar");
  if (standin::newestItem == static_cast<id>(self)) standin::newestItem = nil;
  [button release];
  [super dealloc];
}
- (NSStatusBarButton*)button {
  return static_cast<id>(self);
}
- (void)setVisible:(BOOL)flag {
  print(@"setVisible: %d", flag);
  standin::isVisible = flag;
}
- (void)setFrame:(NSRect)frame {
  print(@"setFrame: %@", NSStringFromRect(frame));
  [button setFrame:frame];
  [self performSelectorOnMainThread:@selector(layOut) withObject:nil waitUntilDone:NO];
}
- (void)layOut {
  [button setFrame:NSMakeRect(0, 0, 22, 37)];
}
- (void)setContentHuggingPriority:(NSLayoutPriority)priority forOrientation:(NSLayoutConstraintOrientation)orientation {
  print(@"setContentHuggingPriority: %g forOrientation: %d", static_cast<double>(priority), orientation);
}
- (NSMethodSignature*)methodSignatureForSelector:(SEL)selector {
  return [button methodSignatureForSelector:selector];
}
- (void)forwardInvocation:(NSInvocation*)message {
  if ([[message methodSignature] numberOfArguments] > 2) print(message);
  [message invokeWithTarget:button];
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
  static CALayer* const layer = [CALayer new];
  return layer;
}
- (NSAppearance*)effectiveAppearance {
  NSString* const name = standin::isDark ? NSAppearanceNameDarkAqua : NSAppearanceNameAqua;
  return [[NSAppearance appearanceNamed:name] autorelease];  // gnustep-gui 0.29 leaves that out
}
- (void)setAppearance:(NSAppearance*)appearance {
  print(@"%@ setAppearance: %@", textOf(self), [appearance name]);
}
- (BOOL)popUpMenuPositioningItem:(NSMenuItem*)item atLocation:(NSPoint)point inView:(NSView*)view {
  print(@"menu opens at %@ in %@", NSStringFromPoint(point), textOf(view));
  for (NSMenuItem* each in [(NSMenu*)self itemArray]) {
    NSString* const key = [each keyEquivalent];
    const NSUInteger modifiers = [key length] > 0 ? [each keyEquivalentModifierMask] : 0;
    NSString* const title = [each isSeparatorItem] ? @"-" : [each title];
    print(@"- %@ %lx %@ %@ %@", title, modifiers, key, textOf([each target]), NSStringFromSelector([each action]));
  }
  standin::user((NSMenu*)self);
  print(@"menu closes");
  return YES;
}
// Keeps the template flag where copies of an image keep it too, in a flag that matters on no screen with colours.
- (BOOL)isTemplate {
  return ![(NSImage*)self prefersColorMatch];
}
- (void)setTemplate:(BOOL)flag {
  [(NSImage*)self setPrefersColorMatch:!flag];
}
- (NSArray*)URLsForDirectory:(NSSearchPathDirectory)directory inDomains:(NSSearchPathDomainMask)mask {
  if (standin::namesNoDirectory) return @[];
  return @[ [NSURL fileURLWithPath:[NSString stringWithUTF8String:getenv("HOME")] isDirectory:YES] ];
}
@end
@implementation CALayer
- (void)setBackgroundColor:(CGColorRef)color {
  print(@"CALayer setBackgroundColor: %d", [(id)color isEqual:[NSColor clearColor]]);
}
@end
@implementation NSColor (StandIn)
- (CGColorRef)CGColor {
  return (CGColorRef)self;
}
@end
@implementation NSMenuItem (StandIn)
- (void)setAttributedTitle:(NSAttributedString*)title {
  print(@"setAttributedTitle: %@ %@", [title string],
        textOf([title attribute:NSFontAttributeName atIndex:0 effectiveRange:nullptr]));
}
@end
@implementation NSStatusBar (StandIn)
+ (NSStatusBar*)systemStatusBar {
  static NSStatusBar* const bar = [[NSStatusBar alloc] init];
  return bar;
}
- (NSStatusItem*)statusItemWithLength:(CGFloat)length {
  if (standin::refusesItems) return nil;
  print(@"statusItemWithLength: %g", length);
  return static_cast<id>([[[StandInItem alloc] init] autorelease]);
}
@end
@implementation NSApplication (StandIn)
- (void)terminate:(id)sender {
  print(@"terminate: %@", textOf(sender));
}
@end
@implementation NSWorkspace (StandIn)
// GNUstep's own workspace starts the daemon gdnc and then waits for lock files that all processes of a user share.
// After some seconds it throws "Failed to lock names" (gnustep-base 1.28, NSMessagePortNameServer).
+ (NSWorkspace*)sharedWorkspace {
  static id const workspace = NSAllocateObject([NSWorkspace class], 0, nullptr);
  return workspace;
}
- (BOOL)openURL:(NSURL*)url {
  print(@"openURL: %@", [url absoluteString]);
  return YES;
}
@end
#pragma clang diagnostic pop

void standin::install() {
  // gnustep-base 1.28 replaces its locks when the first thread starts (GSLazyRecursiveLock). A thread that NSThread did
  // not start replaces them while the main thread may hold one, and then "failed to unlock mutex" is thrown. Therefore
  // an NSThread starts first.
  [NSThread detachNewThreadSelector:@selector(self) toTarget:[NSObject class] withObject:nil];
  [NSRunLoop mainRunLoop];  // without a main run loop gnustep-base 1.28 performs posted work at once
}

void standin::choose(NSMenu* menu, const char* title) {
  const NSInteger index = [menu indexOfItemWithTitle:[NSString stringWithUTF8String:title]];
  if (index >= 0) [menu performActionForItemAtIndex:index];
}

void standin::click(NSEventType type, std::function<void(NSMenu*)> inTheMenu) {
  user = std::move(inTheMenu);
  NSEvent* const event = [[[NSEvent alloc] init] autorelease];
  [event setValue:@(type) forKey:@"event_type"];
  [NSApp setValue:event forKey:@"current_event"];
  [NSApp sendAction:[[newestItem button] action] to:[[newestItem button] target] from:nil];
  print(@"the click is over");
}
