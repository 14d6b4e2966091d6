// Enough of a menu bar to run the library under GNUstep. Proves what the library tells the platform, never what a Mac
// makes of it.
#include <QuartzCore/QuartzCore.h>

#include <algorithm>
#include <concepts>
#include <map>

namespace standin {
std::vector<std::string> record;
bool isDark = false, isVisible = false, refusesItems = false, namesNoDirectory = false;
NSStatusItem* newestItem = nil;
std::vector<NSView*> layered;
std::string throwsAt;
std::function<void(NSMenu*)> user = [](NSMenu*) {};
}  // namespace standin

namespace {

NSEvent* currentEvent = nil;

/// GNUstep knows the name of the common modes, but not what it means.
NSArray* commonModes() { return @[ NSDefaultRunLoopMode, NSEventTrackingRunLoopMode, NSModalPanelRunLoopMode ]; }

NSString* textOf(id value) {
  if ([value isKindOfClass:[NSString class]]) return value;
  if ([value isKindOfClass:[NSFont class]]) return [NSString stringWithFormat:@"%g", [(NSFont*)value pointSize]];
  if ([value isKindOfClass:[NSImage class]]) return NSStringFromSize([(NSImage*)value size]);
  if ([value isKindOfClass:[NSURL class]]) return [value absoluteString];
  if ([value isKindOfClass:[NSAppearance class]]) return [value name];
  if ([value isKindOfClass:[NSColor class]]) return [value isEqual:[NSColor clearColor]] ? @"clear" : @"other";
  if (![value isKindOfClass:[NSAttributedString class]]) return NSStringFromClass([value class]);
  NSFont* const font = [value attribute:NSFontAttributeName atIndex:0 effectiveRange:nullptr];
  return [NSString stringWithFormat:@"%@ in size %@", [value string], textOf(font)];
}
NSString* textOf(SEL value) { return NSStringFromSelector(value); }
NSString* textOf(NSRect value) { return NSStringFromRect(value); }
NSString* textOf(std::convertible_to<double> auto value) {
  return [NSString stringWithFormat:@"%g", static_cast<double>(value)];
}

template <typename Value>
void note(const std::string& what, Value value) {
  const char* const where = [NSThread isMainThread] ? "" : "off the main thread: ";
  standin::record.push_back(where + what + " " + [textOf(value) UTF8String]);
  if (what != standin::throwsAt) return;
  standin::throwsAt.clear();
  [NSException raise:NSInternalInconsistencyException format:@"not today"];
}

std::map<std::string, IMP> originals;

template <typename Value>
void recorded(id self, SEL setter, Value value) {
  note(sel_getName(setter), value);
  const auto original = reinterpret_cast<void (*)(id, SEL, Value)>(originals[sel_getName(setter)]);
  if (original != nullptr) original(self, setter, value);
}

void replace(Class owner, SEL selector, IMP replacement, bool callsOriginal) {
  if (callsOriginal && class_respondsToSelector(owner, selector)) {
    originals[sel_getName(selector)] = class_getMethodImplementation(owner, selector);
  }
  const bool isAdded = class_addMethod(owner, selector, replacement, "v@:@");
  if (!isAdded) class_replaceMethod(owner, selector, replacement, "v@:@");
}

/// Makes objects of `owner` record these setters, and then do what they did before.
template <typename Value>
void record(Class owner, std::initializer_list<SEL> setters, bool callsOriginal = true) {
  for (SEL setter : setters) replace(owner, setter, reinterpret_cast<IMP>(recorded<Value>), callsOriginal);
}

}  // namespace

@interface StandInButton : NSStatusBarButton {
 @public
  NSInteger mask;
}
@end
@implementation StandInButton
- (BOOL)isFlipped {
  return YES;
}
- (NSInteger)sendActionOn:(NSInteger)on {
  return mask = on;
}
- (void)setFrame:(NSRect)frame {
  [super setFrame:frame];
  [self performSelectorOnMainThread:@selector(layOut) withObject:nil waitUntilDone:NO];
}
- (void)layOut {
  [super setFrame:NSMakeRect(0, 0, 22, 37)];
}
- (void)setContentHuggingPriority:(NSLayoutPriority)priority forOrientation:(NSLayoutConstraintOrientation)orientation {
  note(orientation == NSLayoutConstraintOrientationHorizontal ? "hug horizontally" : "hug vertically", priority);
}
@end

@interface StandInItem : NSStatusItem {
  StandInButton* button;
}
@end
@implementation StandInItem
- (id)initWithLength:(CGFloat)length {
  if ((self = [super init]) == nil) return nil;
  button = [[StandInButton alloc] initWithFrame:NSMakeRect(0, 0, 22, 22)];
  standin::record.clear();  // what the button's own making told it
  note("statusItemWithLength:", length);
  standin::newestItem = self;
  return self;
}
- (void)dealloc {
  standin::record.push_back("the item leaves the bar");
  if (standin::newestItem == self) standin::newestItem = nil;
  [button release];
  [super dealloc];
}
- (NSStatusBarButton*)button {
  return button;
}
- (void)setVisible:(BOOL)flag {
  note("setVisible:", standin::isVisible = flag);
}
@end

@implementation CALayer
- (void)setBackgroundColor:(CGColorRef)color {
  note("setBackgroundColor:", (id)color);
}
@end

#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation"  // what GNUstep has, but not so
@implementation NSStatusBar (StandIn)
+ (NSStatusBar*)systemStatusBar {
  static NSStatusBar* const bar = [[NSStatusBar alloc] init];
  return bar;
}
- (NSStatusItem*)statusItemWithLength:(CGFloat)length {
  return standin::refusesItems ? nil : [[[StandInItem alloc] initWithLength:length] autorelease];
}
@end
@implementation NSColor (StandIn)
- (CGColorRef)CGColor {
  return (CGColorRef)self;
}
@end
@implementation NSAppearance (StandIn)
- (NSString*)bestMatchFromAppearancesWithNames:(NSArray*)names {
  return [names containsObject:[self name]] ? [self name] : nil;
}
@end
@implementation NSObject (StandIn)
- (void)performSelectorOnMainThread:(SEL)selector withObject:(id)object waitUntilDone:(BOOL)waits {
  [self performSelectorOnMainThread:selector withObject:object waitUntilDone:waits modes:commonModes()];
}
@end
@implementation NSView (StandIn)
- (void)setWantsLayer:(BOOL)flag {
  if (flag && [self layer] == nil) standin::layered.push_back(self);
}
- (CALayer*)layer {
  static CALayer* const layer = [CALayer new];
  return std::count(standin::layered.begin(), standin::layered.end(), self) > 0 ? layer : nil;
}
@end
@implementation NSApplication (StandIn)
- (NSAppearance*)effectiveAppearance {
  return [NSAppearance appearanceNamed:standin::isDark ? NSAppearanceNameDarkAqua : NSAppearanceNameAqua];
}
- (NSEvent*)currentEvent {
  return currentEvent;
}
@end
@implementation NSMenu (StandIn)
- (BOOL)popUpMenuPositioningItem:(NSMenuItem*)item atLocation:(NSPoint)point inView:(NSView*)view {
  note("popUp at", NSStringFromPoint(point));
  standin::user(self);
  note("closed over", view);
  return YES;
}
@end
@implementation NSImage (StandIn)
// The flag that nothing on this screen asks for; a copy keeps it, as a Mac's keeps the template flag.
- (BOOL)isTemplate {
  return ![self prefersColorMatch];
}
- (void)setTemplate:(BOOL)flag {
  [self setPrefersColorMatch:!flag];
}
@end
@implementation NSFileManager (StandIn)
- (NSArray*)URLsForDirectory:(NSSearchPathDirectory)directory inDomains:(NSSearchPathDomainMask)mask {
  if (standin::namesNoDirectory) return @[];
  return @[ [NSURL fileURLWithPath:[NSString stringWithUTF8String:getenv("HOME")] isDirectory:YES] ];
}
@end
#pragma clang diagnostic pop

static void addTimer(id loop, SEL selector, NSTimer* timer, NSString* mode) {
  if (![NSThread isMainThread]) note("addTimer:", timer);
  const auto addInOneMode = reinterpret_cast<decltype(&addTimer)>(originals.at("addTimer:forMode:"));
  const bool isCommon = [mode isEqualToString:NSRunLoopCommonModes];
  for (NSString* each in isCommon ? commonModes() : @[ mode ]) addInOneMode(loop, selector, timer, each);
}

void standin::install() {
  // The first thread that is not NSThread's replaces GNUstep's locks while the main thread may hold one, which then
  // throws "failed to unlock mutex" (gnustep-base 1.28, GSLazyRecursiveLock). An NSThread replaces them now.
  [NSThread detachNewThreadSelector:@selector(self) toTarget:[NSObject class] withObject:nil];
  Class const button = [StandInButton class];
  ::record<id>(button, { @selector(setImage:), @selector(setTarget:) });
  ::record<BOOL>(button, { @selector(setBordered:), @selector(setHidden:), @selector(setTransparent:) });
  ::record<CGFloat>(button, { @selector(setAlphaValue:) });
  ::record<NSInteger>(button, { @selector(sendActionOn:), @selector(setImagePosition:) });
  ::record<NSRect>(button, { @selector(setFrame:) });
  ::record<SEL>(button, { @selector(setAction:) });
  ::record<BOOL>([NSImage class], { @selector(setTemplate:) });
  ::record<CGFloat>([NSMenu class], { @selector(setMinimumWidth:) });
  ::record<id>([NSMenu class], { @selector(setAppearance:), @selector(setFont:) });
  ::record<id>([NSMenuItem class], { @selector(setAttributedTitle:) });
  ::record<id>([NSApplication class], { @selector(terminate:) }, false);
  ::record<id>([NSWorkspace class], { @selector(openURL:) }, false);
  replace([NSRunLoop class], @selector(addTimer:forMode:), reinterpret_cast<IMP>(addTimer), true);
}

std::vector<std::string> standin::itemsOf(NSMenu* menu) {
  std::vector<std::string> items;
  for (NSMenuItem* each in [menu itemArray]) {
    const auto mask = static_cast<unsigned long>([each keyEquivalentModifierMask]);
    NSString* const key = [each keyEquivalent];
    items.push_back([[each title] UTF8String]);
    if ([key length] > 0) items.back() += [[NSString stringWithFormat:@" %lx %@", mask, key] UTF8String];
  }
  return items;
}

void standin::choose(NSMenu* menu, const std::string& title) {
  const NSInteger index = [menu indexOfItemWithTitle:[NSString stringWithUTF8String:title.c_str()]];
  if (index >= 0) [menu performActionForItemAtIndex:index];
}

void standin::click(NSEventType type) {
  StandInButton* const button = (StandInButton*)[newestItem button];
  if ((button->mask & (1 << type)) == 0) return;
  currentEvent = [NSEvent mouseEventWithType:type
                                    location:NSMakePoint(11, 11)
                               modifierFlags:0
                                   timestamp:0
                                windowNumber:0
                                     context:nil
                                 eventNumber:0
                                  clickCount:1
                                    pressure:1];
  [NSApp sendAction:[button action] to:[button target] from:button];
  currentEvent = nil;
  note("clicked", button);
}
