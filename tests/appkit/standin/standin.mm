// Enough of a menu bar to run the library under GNUstep. Proves what the library tells the platform, never what a Mac
// makes of it.
#include <dispatch/dispatch.h>

#include <algorithm>
#include <concepts>

namespace standin {
std::vector<std::string> record;
bool isDark = false;
std::vector<NSView*> layered;
NSStatusItem* newestItem = nil;
std::vector<std::string> titles;
std::optional<std::string> choice;
bool refuses = false, throws = false;
}  // namespace standin

namespace {

void note(const char* what, NSString* value) {
  standin::record.push_back(std::string(what) + " " + [value UTF8String]);
}
template <std::convertible_to<double> Number>
void note(const char* what, Number value) {
  note(what, [NSString stringWithFormat:@"%g", static_cast<double>(value)]);
}

NSArray* commonModes() { return @[ NSDefaultRunLoopMode, @"NSEventTrackingRunLoopMode", @"NSModalPanelRunLoopMode" ]; }

CGFloat nextPlace = 0;

}  // namespace

@interface StandInButton : NSStatusBarButton {
  NSInteger mask;
}
@end
@implementation StandInButton
- (NSInteger)sendActionOn:(NSInteger)on {
  note("sendActionOn:", on);
  mask = on;
  return [super sendActionOn:on];
}
#define RECORDS(setter, type, text) \
  -(void)setter : (type)value {     \
    note(#setter ":", text);        \
    [super setter:value];           \
  }
RECORDS(setTarget, id, NSStringFromClass([value class]))
RECORDS(setAction, SEL, NSStringFromSelector(value))
RECORDS(setHidden, BOOL, value)
RECORDS(setFrame, NSRect, NSStringFromRect(value))
RECORDS(setImagePosition, NSCellImagePosition, value)
RECORDS(setBordered, BOOL, value)
RECORDS(setTransparent, BOOL, value)
RECORDS(setAlphaValue, CGFloat, value)
- (void)setContentHuggingPriority:(NSLayoutPriority)priority forOrientation:(NSLayoutConstraintOrientation)orientation {
  note(orientation == NSLayoutConstraintOrientationHorizontal ? "hug horizontally" : "hug vertically", priority);
}
- (void)setImage:(NSImage*)image {
  note("setImage:", NSStringFromSize([image size]));
  note("  isTemplate", [image isTemplate]);
  [super setImage:image];
}
- (void)rightMouseDown:(NSEvent*)event {
}
- (void)rightMouseUp:(NSEvent*)event {
  if ((mask & NSRightMouseUpMask) != 0) [NSApp sendAction:[self action] to:[self target] from:self];
}
@end

@interface StandInItem : NSStatusItem {
  NSWindow* window;
  StandInButton* button;
}
@end
@implementation StandInItem
- (id)initWithLength:(CGFloat)length {
  if ((self = [super init]) == nil) return nil;
  const CGFloat side = length > 0 ? length : 22;
  const NSRect place = NSMakeRect(nextPlace, NSMaxY([[NSScreen mainScreen] frame]) - 22, side, 22);
  nextPlace += 30;
  window = [[NSWindow alloc] initWithContentRect:place
                                       styleMask:NSBorderlessWindowMask
                                         backing:NSBackingStoreBuffered
                                           defer:NO];
  [window setReleasedWhenClosed:NO];
  button = [[StandInButton alloc] initWithFrame:NSMakeRect(0, 0, side, 22)];
  standin::record.clear();  // what the button's own making told it
  note("statusItemWithLength:", length);
  [[window contentView] addSubview:button];
  [window orderFrontRegardless];
  standin::newestItem = self;
  return self;
}
- (void)dealloc {
  standin::record.push_back("the item leaves the bar");
  if (standin::newestItem == self) standin::newestItem = nil;
  [window close];
  [window release];
  [button release];
  [super dealloc];
}
- (NSStatusBarButton*)button {
  return button;
}
- (void)setVisible:(BOOL)flag {
  note("setVisible:", flag);
  if (flag) {
    [window orderFrontRegardless];
  } else {
    [window orderOut:nil];
  }
}
@end

@implementation CALayer
- (void)setBackgroundColor:(CGColorRef)color {
  note("setBackgroundColor: clear", [(NSColor*)color isEqual:[NSColor clearColor]]);
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
  if (standin::throws) [NSException raise:NSInternalInconsistencyException format:@"no bar today"];
  return standin::refuses ? nil : [[[StandInItem alloc] initWithLength:length] autorelease];
}
@end
@implementation NSColor (StandIn)
- (CGColorRef)CGColor {
  return (CGColorRef)self;
}
@end
@implementation NSAppearance (StandIn)
- (NSString*)bestMatchFromAppearancesWithNames:(NSArray*)names {
  NSString* const look = standin::isDark ? NSAppearanceNameDarkAqua : NSAppearanceNameAqua;
  return [names containsObject:look] ? look : nil;
}
@end
@implementation NSWorkspace (StandIn)
- (BOOL)openURL:(NSURL*)url {
  note("openURL:", [url absoluteString]);
  return YES;
}
@end
@implementation NSMenuItem (StandIn)
- (void)setAttributedTitle:(NSAttributedString*)title {
  note("setAttributedTitle:", [title string]);
  note("  in size", [[title attribute:NSFontAttributeName atIndex:0 effectiveRange:nullptr] pointSize]);
}
@end
#pragma clang diagnostic pop

@implementation NSView (StandIn)
- (void)setWantsLayer:(BOOL)flag {
  if (flag && [self layer] == nil) standin::layered.push_back(self);
}
- (CALayer*)layer {
  static CALayer* const layer = [CALayer new];
  return std::count(standin::layered.begin(), standin::layered.end(), self) > 0 ? layer : nil;
}
- (void)setContentHuggingPriority:(NSLayoutPriority)priority forOrientation:(NSLayoutConstraintOrientation)orientation {
}
@end
@implementation NSApplication (StandIn)
- (NSAppearance*)effectiveAppearance {
  return [NSAppearance appearanceNamed:standin::isDark ? NSAppearanceNameDarkAqua : NSAppearanceNameAqua];
}
@end
@implementation NSMenu (StandIn)
- (void)setFont:(NSFont*)font {
  note("setFont:", [font pointSize]);
}
- (void)setMinimumWidth:(CGFloat)width {
  note("setMinimumWidth:", width);
}
- (void)setAppearance:(NSAppearance*)appearance {
  note("setAppearance:", standin::isDark ? @"dark" : @"light");
}
- (BOOL)popUpMenuPositioningItem:(NSMenuItem*)item atLocation:(NSPoint)point inView:(NSView*)view {
  note("popUp at", NSStringFromPoint(point));
  standin::titles.clear();
  for (NSMenuItem* each in [self itemArray]) standin::titles.push_back([[each title] UTF8String]);
  if (standin::choice) {
    const auto chosen = std::find(standin::titles.begin(), standin::titles.end(), *standin::choice);
    if (chosen != standin::titles.end()) [self performActionForItemAtIndex:chosen - standin::titles.begin()];
    return YES;
  }
  // GNUstep shows the menu and returns at once; a Mac returns once it is closed.
  // Nor is its button flipped, as a Mac's is.
  [self popUpMenuPositionItem:item atLocation:NSMakePoint(point.x, NSHeight([view bounds]) - point.y) inView:view];
  NSMenuView* const shown = [self menuRepresentation];
  NSWindow* const window = [shown window];
  [shown mouseDown:[NSEvent mouseEventWithType:NSLeftMouseDown
                                      location:[window mouseLocationOutsideOfEventStream]
                                 modifierFlags:0
                                     timestamp:0
                                  windowNumber:[window windowNumber]
                                       context:nil
                                   eventNumber:0
                                    clickCount:1
                                      pressure:1]];
  [window orderOut:nil];
  standin::record.push_back("closed");
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
  return @[ [NSURL fileURLWithPath:[NSString stringWithUTF8String:getenv("HOME")] isDirectory:YES] ];
}
@end

// GNUstep knows the name of the common modes, but not what it means.
namespace {
void (*addInOneMode)(id, SEL, NSTimer*, NSString*) = nullptr;
}
@interface NSRunLoop (StandIn)
- (void)standIn_addTimer:(NSTimer*)timer forMode:(NSString*)mode;
@end
@implementation NSRunLoop (StandIn)
+ (void)load {
  Method theirs = class_getInstanceMethod(self, @selector(addTimer:forMode:));
  Method ours = class_getInstanceMethod(self, @selector(standIn_addTimer:forMode:));
  addInOneMode = (decltype(addInOneMode))method_setImplementation(theirs, method_getImplementation(ours));
}
- (void)standIn_addTimer:(NSTimer*)timer forMode:(NSString*)mode {
  NSArray* const modes = [mode isEqualToString:NSRunLoopCommonModes] ? commonModes() : @[ mode ];
  for (NSString* each in modes) addInOneMode(self, _cmd, timer, each);
}
@end

@interface StandInCall : NSObject {
 @public
  dispatch_function_t work;
  void* context;
}
- (void)run:(id)unused;
@end
@implementation StandInCall
- (void)run:(id)unused {
  work(context);
}
@end

dispatch_queue_t dispatch_get_main_queue(void) { return nullptr; }

void dispatch_async_f(dispatch_queue_t, void* context, dispatch_function_t work) {
  @autoreleasepool {
    [NSRunLoop mainRunLoop];  // without one, GNUstep would call at once
    StandInCall* const call = [[StandInCall new] autorelease];
    call->work = work;
    call->context = context;
    [call performSelectorOnMainThread:@selector(run:) withObject:nil waitUntilDone:NO modes:commonModes()];
  }
}
