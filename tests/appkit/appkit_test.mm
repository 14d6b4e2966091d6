// The library on GNUstep with the stand-in, as a host and a user meet it. Needs a screen.

#include "environment.h"
#include "forked_host.h"
#include "main_loop.h"
#include "process_queue.h"
#import "tray_manager_object.h"
#include "typical_run.h"

namespace quill::tests {

class AppKitTest : public ForkedHost {
 protected:
  /// Runs `host` in a process of its own.
  void run(const std::function<void()>& host) {
    ForkedHost::run([&] {
      @autoreleasepool {
        standin::install();
        host();
      }
      posix::drainQueues();  // because GNUstep's Foundation ends before the library at the process's exit
    });
  }
  /// Prints `title`, runs `body`, and then runs the main loop until all changes are presented.
  static void step(const char* title, const std::function<void()>& body) {
    std::puts(title);
    @autoreleasepool {
      body();
    }
    settle();
  }
};

TEST_F(AppKitTest, TypicalRunsAreLoggedInLocalTimeAndLeaveNoObject) {
  run([this] {
    [NSTimeZone setDefaultTimeZone:[NSTimeZone timeZoneForSecondsFromGMT:5 * 3600 + 1800]];
    [NSApplication sharedApplication];  // GNUstep's menus need it
    const auto isOver = [this] { return hasPrinted("动画已停止"); };
    GSDebugAllocationActive(YES);
    std::vector<int> objects(20);
    for (int& count : objects) {
      step("typical run", [&] {
        NSMenu* const menu = [[[NSMenu alloc] initWithTitle:@""] autorelease];
        for (NSString* title in @[ @"One", @"Two" ]) [menu addItemWithTitle:title action:nullptr keyEquivalent:@""];
        typicalRun(menu, @"no menu", [&] { runUntil(isOver); });
        [[QuillTrayManager shared] createBasicMenu];
      });
      for (Class* each = GSDebugAllocationClassList(); *each != nil; ++each) count += GSDebugAllocationCount(*each);
    }
    EXPECT_LT(objects.back(), objects[3] + 16) << "less than one object a round";
    const auto local = Environment::current().now().time_since_epoch();
    const auto utc = std::chrono::system_clock::now().time_since_epoch();
    EXPECT_EQ(std::chrono::round<std::chrono::minutes>(local - utc), 5h + 30min);
  });
  EXPECT_THAT(joined(logged()), StartsWith(contents(CASES "../support/typical_run.txt")));
  EXPECT_THAT(lines(console), Contains("  openURL: nobody-opens:%EF%BF%BD"));
}

// tests/appkit/steps.txt has the steps' titles, and what the host, the stand-in and the log print in each.
TEST_F(AppKitTest, StepsOfAHostReachThePlatformOnce) {
  run([this] {
    QuillTrayManager* const manager = [QuillTrayManager shared];
    NSImage* const image = [[[NSImage alloc] initWithSize:NSMakeSize(16, 10)] autorelease];
    step("create", [=] { [manager createTray]; });
    step("icon", [=] { [manager setMainIcon:image]; });
    step("records, which a button does not show",
         [] { quill_tray_manager_set_menu_items_json(R"([{"id":"a","title":"A","keyEquivalent":"Cmd+Shift+É"}])"); });
    step("the bar makes the button higher", [] { [[standin::newestItem button] setFrame:NSMakeRect(0, 0, 22, 37)]; });
    step("icon again", [=] { [manager setMainIcon:image]; });
    step("an icon of another class", [=] { [manager setMainIcon:static_cast<id>(@"no image")]; });

    [manager setClickCallback:[] { std::puts("clicked"); }];
    step("left click", [] { standin::click(NSLeftMouseUp); });
    quill_tray_manager_set_menu_item_callback([](const char* identifier) {
      std::printf("chosen: %s\n", identifier);
      quill_tray_manager_create();
    });
    step("right click, an animation in the menu's mode, and a choice whose callback creates", [=, this] {
      for (int frame = 0; frame < 2; ++frame) [manager addAnimationFrame:image];
      [manager startAnimation];
      standin::click(NSRightMouseUp, [this](NSMenu* menu) {
        EXPECT_TRUE(runUntil([this] { return hasPrinted("动画已停止"); }, NSEventTrackingRunLoopMode));
        settle();
        [menu performActionForItemAtIndex:0];
        settle();
      });
      [manager stopAnimation];
      [manager resetAnimation];
    });

    NSMenu* const menu = [[NSMenu alloc] initWithTitle:@""];
    step("a host's menu", [=] {
      [menu addItemWithTitle:@"One" action:@selector(close) keyEquivalent:@"k"];
      [manager setMenu:menu];
    });
    step("right click", [=] { standin::click(NSRightMouseUp, [=](NSMenu* opened) { EXPECT_EQ(opened, menu); }); });
    step("the library's menus", [=] {
      [manager setMenu:[manager createStandardMenu]];
      [manager setMenu:[manager createBasicMenu]];
      standin::click(NSRightMouseUp, [](NSMenu* basic) { [basic performActionForItemAtIndex:2]; });
    });
    EXPECT_EQ([menu retainCount], 1U);
  });
  EXPECT_EQ(withoutAddresses(contents(console)), contents(CASES "steps.txt"));
}

}  // namespace quill::tests
