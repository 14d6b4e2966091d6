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
  /// Prints `title`, then runs `body` and what it leaves to the main loop.
  static void step(const char* title, const std::function<void()>& body) {
    std::puts(title);
    @autoreleasepool {
      body();
    }
    settle();
  }
  void runTypically() {
    [NSApplication sharedApplication];  // GNUstep's menus need it
    NSMenu* const menu = [[[NSMenu alloc] initWithTitle:@""] autorelease];
    for (NSString* title in @[ @"One", @"Two" ]) [menu addItemWithTitle:title action:nullptr keyEquivalent:@""];
    const auto isOver = [this] { return hasPrinted("动画已停止"); };
    typicalRun(menu, @"no menu", [&] { runUntil(isOver); });
  }
};

TEST_F(AppKitTest, TypicalRunIsLoggedInLocalTimeAsOnEveryDesktop) {
  run([this] {
    [NSTimeZone setDefaultTimeZone:[NSTimeZone timeZoneForSecondsFromGMT:5 * 3600 + 1800]];
    runTypically();
    const auto local = Environment::current().now().time_since_epoch();
    const auto utc = std::chrono::system_clock::now().time_since_epoch();
    EXPECT_EQ(std::chrono::round<std::chrono::minutes>(local - utc), 5h + 30min);
  });
  EXPECT_EQ(joined(logged()), contents(CASES "../support/typical_run.txt"));
  EXPECT_THAT(lines(console), Contains("  openURL: nobody-opens:%EF%BF%BD"));
}

TEST_F(AppKitTest, LogWithoutAUserDirectoryReachesTheConsoleAlone) {
  run([] {
    standin::namesNoDirectory = true;
    quill_tray_manager_set_menu_items_json("[]");
  });
  EXPECT_EQ(contents(console), "[TrayManager] [TrayManager] 已设置菜单项数据，数量: 0\n");
  EXPECT_EQ(countIn(home), 1) << "nothing but what it printed";
}

// tests/appkit/steps.txt has the steps' titles, and what the host, the stand-in and the log print in each.
TEST_F(AppKitTest, StepsOfAHostReachThePlatformOnce) {
  run([this] {
    QuillTrayManager* const manager = [QuillTrayManager shared];
    NSImage* const image = [[[NSImage alloc] initWithSize:NSMakeSize(16, 10)] autorelease];
    standin::throwsAt = "setAction:";
    step("create, while setAction: throws", [=] { [manager createTray]; });
    step("icon", [=] { [manager setMainIcon:image]; });
    step("records, which a button does not show", [] {
      quill_tray_manager_set_menu_items_json(R"([{"id":"a","title":"A","keyEquivalent":"Cmd+Shift+K"},
          {"id":"b","title":"B","keyEquivalent":"Ctrl+Alt+É"},{"id":"c","title":"C","enabled":false}])");
    });
    step("icon again", [=] { [manager setMainIcon:image]; });
    EXPECT_EQ([image size].width, 16) << "the host's own stays as it was";

    [manager setClickCallback:[] { std::puts("clicked"); }];
    quill_tray_manager_set_menu_item_callback([](const char* identifier) { std::printf("chosen: %s\n", identifier); });
    step("left click", [] { standin::click(NSLeftMouseUp); });
    standin::isDark = true;
    step("right click in the dark, with an animation meanwhile", [=, this] {
      for (int frame = 0; frame < 2; ++frame) [manager addAnimationFrame:image];
      [manager startAnimation];
      standin::click(NSRightMouseUp, [this](NSMenu* menu) {
        EXPECT_TRUE(runUntil([this] { return hasPrinted("动画已停止"); }, NSEventTrackingRunLoopMode));
        settle();
        for (const char* title : {"B", "C"}) standin::choose(menu, title);
      });
    });
    step("create in the click's callback", [=] {
      [manager setClickCallback:[] {
        quill_tray_manager_create();
        settle();
      }];
      standin::click(NSLeftMouseUp);
    });
    step("create in the choice's callback", [=] {
      quill_tray_manager_set_menu_item_callback([](const char*) { quill_tray_manager_create(); });
      standin::click(NSRightMouseUp, [](NSMenu* menu) {
        standin::choose(menu, "A");
        settle();
      });
    });

    NSMenu* const menu = [[NSMenu alloc] initWithTitle:@""];
    NSMenuItem* const item = [[NSMenuItem alloc] initWithTitle:@"One" action:@selector(close) keyEquivalent:@"k"];
    [item setTarget:menu];
    step("a host's menu", [=] {
      [menu addItem:item];
      [manager setMenu:menu];
    });
    step("right click", [=] { standin::click(NSRightMouseUp, [=](NSMenu* opened) { EXPECT_EQ(opened, menu); }); });
    step("the host's item leaves its menu", [=] { [menu removeItem:item]; });
    EXPECT_EQ([item retainCount], 1U);
    step("the library's menus", [=] {
      [manager setMenu:[manager createStandardMenu]];
      [manager setMenu:[manager createBasicMenu]];
      standin::click(NSRightMouseUp, [](NSMenu* basic) {
        for (const char* title : {"设置", "退出"}) standin::choose(basic, title);
      });
    });
    EXPECT_EQ([menu retainCount], 1U);
    step("a sender and an item without an identifier", [=] {
      [manager handleMenuItemAction:manager];
      [item setRepresentedObject:@5];
      [manager handleMenuItemAction:item];
    });
    standin::refusesItems = true;
    step("refused create, then the animation's functions", [=] {
      [manager createTray];
      [manager startAnimation];
      [manager updateAnimation];
      [manager stopAnimation];
      [manager resetAnimation];
    });
  });
  EXPECT_EQ(withoutAddresses(contents(console)), contents(CASES "steps.txt"));
}

TEST_F(AppKitTest, RepeatedRunsLeaveNoObjectBehind) {
  run([this] {
    GSDebugAllocationActive(YES);
    const auto countObjects = [] {
      int count = 0;
      for (Class* each = GSDebugAllocationClassList(); *each != nil; ++each) count += GSDebugAllocationCount(*each);
      return count;
    };
    const auto use = [this] {
      runTypically();
      [[QuillTrayManager shared] createBasicMenu];
    };
    for (int round = 0; round < 3; ++round) step("warm up", use);
    const int before = countObjects();
    for (int round = 0; round < 20; ++round) step("use", use);
    EXPECT_LT(countObjects(), before + 20) << "an object of the round before may be released late";
  });
}

}  // namespace quill::tests
