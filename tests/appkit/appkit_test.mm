// The library on GNUstep with the stand-in, as a host and a user meet it. Needs a screen.

#import <AppKit/AppKit.h>

#include <atomic>

#include "decode_image.h"
#include "forked_host.h"
#include "main_loop.h"
#include "tray_manager.h"
#import "tray_manager_object.h"
#include "typical_run.h"
#include "worker_queue.h"

static std::atomic<int> menusGone{0};
static std::atomic<int> terminations{0};

/// A host's menu that tells of its end.
@interface HostsMenu : NSMenu
@end
@implementation HostsMenu
- (void)dealloc {
  ++menusGone;
  [super dealloc];
}
@end
@interface HostsDelegate : NSObject
@end
@implementation HostsDelegate
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)application {
  ++terminations;
  return NSTerminateCancel;
}
@end

namespace quill::tests {

using std::chrono::milliseconds;

Lines told;

Lines takeRecord() { return std::exchange(standin::record, {}); }

void startApplication() {
  [NSApplication sharedApplication];
  [NSApp setDelegate:static_cast<id>([HostsDelegate new])];
  [NSApp finishLaunching];
}

/// Looks every 50 ms and clicks with the real pointer; again after five seconds, as GNUstep may miss a click.
struct Clicks {
  void click(int x, int y, int button) {
    const auto place = std::to_string(x) + " " + std::to_string(y);
    const auto number = std::to_string(button);
    if (looks++ % 100 != 10) return;
    const auto words = "mousemove " + place + " sleep 0.2 mousedown " + number + " sleep 0.3 mouseup " + number;
    ASSERT_EQ(std::system(("xdotool " + words + " &").c_str()), 0);
  }
  int looks = 0;
};

/// Opens the menu by a right click and clicks its item at `index`.
void chooseFromTheMenu(int index) {
  takeRecord();
  Clicks opening;
  Clicks choosing;
  const auto user = Desktop::current().mainQueue().repeat(milliseconds(50), [&] {
    const bool isOpen = std::any_of(standin::record.begin(), standin::record.end(),
                                    [](const auto& line) { return line.starts_with("popUp"); });
    isOpen ? choosing.click(20, 32 + 22 * index, 1) : opening.click(11, 11, 3);
  });
  EXPECT_TRUE(runUntil([] { return std::count(standin::record.begin(), standin::record.end(), "closed") > 0; }));
}

class AppKitTest : public ForkedHost {
 protected:
  /// Runs `host` in a process of its own. Answers with what it logged, as "LEVEL message".
  Lines run(const std::function<void()>& host) {
    ForkedHost::run([&] {
      @autoreleasepool {
        startApplication();
        host();
      }
      posix::drainQueues();  // at its exit GNUstep's Foundation is gone before the library
    });
    std::string printed;
    for (const auto& line : lines(file)) printed += line.substr(line.find("[TrayManager] [")) + "\n";
    if (!HasFailure()) EXPECT_EQ(contents(console), printed);
    return logged();
  }
};

TEST_F(AppKitTest, LogsATypicalRunAsOnEveryDesktop) {
  const auto logged = run([this] {
    NSMenu* const menu = [[[NSMenu alloc] initWithTitle:@""] autorelease];
    for (NSString* title in @[ @"One", @"Two" ]) {
      [menu addItem:[[[NSMenuItem alloc] initWithTitle:title action:nullptr keyEquivalent:@""] autorelease]];
    }
    typicalRun(menu, @"no menu", runUntil, console);
    settle();
    EXPECT_THAT(standin::record, Contains("openURL: nobody-opens:%EF%BF%BD"));
  });
  EXPECT_EQ(joined(logged), typicalRunLog());
}

TEST_F(AppKitTest, TellsThePlatformEachSettingInOrder) {
  run([] {
    quill_tray_manager_create();
    settle();
    EXPECT_EQ(takeRecord(), (Lines{"statusItemWithLength: -2", "setFrame: {x = 0; y = 0; width = 22; height = 22}",
                                   "setBackgroundColor: clear 1", "setVisible: 1", "sendActionOn: 20",
                                   "setTarget: QuillTrayManager", "setAction: handleClick", "setHidden: 0",
                                   "hug horizontally 1000", "hug vertically 1000"}));
    quill_tray_manager_set_main_icon(icon_png, sizeof icon_png);
    settle();
    EXPECT_EQ(takeRecord(),
              (Lines{"setBackgroundColor: clear 1", "setImagePosition: 1", "setBordered: 0", "setTransparent: 0",
                     "setImage: {width = 22; height = 22}", "  isTemplate 1", "setAlphaValue: 1"}));
    quill_tray_manager_set_menu_items_json("[]");
    settle();
    EXPECT_THAT(takeRecord(), IsEmpty()) << "nothing that can be seen has changed";

    ASSERT_THAT(standin::layered, SizeIs(2));
    NSView* const group = standin::layered[0];
    NSImageView* const frames = static_cast<NSImageView*>(standin::layered[1]);
    EXPECT_TRUE(NSEqualRects([group frame], NSMakeRect(0, 0, 22, 22)));
    EXPECT_TRUE([group isHidden]);
    ASSERT_EQ([[group subviews] count], 2U);
    NSImageView* const icon = [[group subviews] objectAtIndex:0];
    EXPECT_EQ([[group subviews] objectAtIndex:1], frames);
    for (NSImageView* view in @[ icon, frames ]) {
      EXPECT_TRUE(NSEqualRects([view frame], NSMakeRect(0, 0, 22, 22)));
      EXPECT_TRUE([view isHidden]);
      EXPECT_EQ([view autoresizingMask], 18U);
      EXPECT_EQ([view imageAlignment], NSImageAlignCenter);
      EXPECT_EQ(static_cast<int>([view imageScaling]), 3);
    }
    EXPECT_EQ([icon alphaValue], 1.0);
    EXPECT_EQ([frames alphaValue], 0.0);
    EXPECT_TRUE([[icon image] isTemplate]);
  });
}

TEST_F(AppKitTest, ReachesTheHostByRealClicks) {
  run([] {
    quill_tray_manager_set_menu_items_json(
        R"([{"id":"a","title":"A"},{"id":"b","title":"B"},{"id":"c","title":"C","enabled":false}])");
    quill_tray_manager_set_click_callback([] { told.emplace_back("click"); });
    quill_tray_manager_set_menu_item_callback([](const char* identifier) { told.emplace_back(identifier); });
    quill_tray_manager_create();
    quill_tray_manager_set_main_icon(icon_png, sizeof icon_png);
    settle();
    Clicks clicking;
    auto user = Desktop::current().mainQueue().repeat(milliseconds(50), [&] { clicking.click(11, 11, 1); });
    EXPECT_TRUE(runUntil([] { return !told.empty(); }));
    user.reset();
    EXPECT_THAT(told, ElementsAre("click"));

    standin::isDark = true;
    for (int frame = 0; frame < 60; ++frame) quill_tray_manager_add_animation_frame(icon_png, sizeof icon_png);
    quill_tray_manager_start_animation();
    chooseFromTheMenu(1);
    EXPECT_THAT(told, ElementsAre("click", "b"));
    const auto record = takeRecord();
    const auto opened = std::find(record.begin(), record.end(), "popUp at {x = 0; y = 22}");
    const auto closed = std::find(record.begin(), record.end(), "closed");
    ASSERT_TRUE(opened != record.end() && closed != record.end());
    EXPECT_THAT(Lines(record.begin(), opened),
                ::testing::IsSupersetOf({"setFont: 12", "setMinimumWidth: 0", "setAppearance: dark"}));
    EXPECT_GT(std::count(opened, closed, "setImage: {width = 22; height = 22}"), 5)
        << "it plays while the menu is open";

    chooseFromTheMenu(2);
    EXPECT_THAT(told, SizeIs(2)) << "what is disabled cannot be chosen";
  });
}

TEST_F(AppKitTest, EndsTheApplicationByTheBasicMenusLastEntry) {
  run([] {
    quill_tray_manager_create();
    settle();
    chooseFromTheMenu(2);
    EXPECT_TRUE(runUntil([] { return terminations == 1; }));
  });
}

TEST_F(AppKitTest, KeepsAHostsMenuAndGivesItTheLook) {
  const auto logged = run([] {
    @autoreleasepool {
      HostsMenu* const menu = [[[HostsMenu alloc] initWithTitle:@""] autorelease];
      NSMenuItem* const item = (NSMenuItem*)[menu addItemWithTitle:@"One"
                                                            action:@selector(performClose:)
                                                     keyEquivalent:@"k"];
      [item setTarget:menu];
      quill_tray_manager_set_menu_ptr(menu);
      EXPECT_EQ(takeRecord(), (Lines{"setFont: 12", "setMinimumWidth: 250", "setAppearance: light",
                                     "setAttributedTitle: One", "  in size 12"}));
      EXPECT_EQ([item target], menu);
      EXPECT_EQ([item action], @selector(performClose:));
    }
    EXPECT_EQ(menusGone, 0);
    quill_tray_manager_create();
    settle();
    @autoreleasepool {
      quill_tray_manager_set_menu_items_json("[]");
      settle();
    }
    EXPECT_EQ(menusGone, 1) << "replaced, it is let go";
  });
  EXPECT_EQ(logged.front(), "INFO 菜单已设置，菜单项数量: 1");
}

TEST_F(AppKitTest, AnswersByNameToEveryOperation) {
  const auto logged = run([] {
    QuillTrayManager* const manager = [QuillTrayManager shared];
    EXPECT_EQ([QuillTrayManager shared], manager);
    for (NSString* name in @[
           @"createTray", @"setMainIcon:", @"setMenu:", @"handleMenuItemAction:", @"createStandardMenu",
           @"createBasicMenu", @"quitApplication", @"addAnimationFrame:", @"startAnimation", @"stopAnimation",
           @"resetAnimation", @"handleClick", @"setClickCallback:", @"updateAnimation"
         ]) {
      EXPECT_TRUE([manager respondsToSelector:NSSelectorFromString(name)]) << [name UTF8String];
    }
    NSMenu* const basic = [manager createBasicMenu];
    ASSERT_EQ([[basic itemArray] count], 3U);
    NSMenuItem* const quit = [[basic itemArray] objectAtIndex:2];
    EXPECT_TRUE([[quit keyEquivalent] isEqualToString:@"q"]);
    EXPECT_EQ([quit target], manager);
    EXPECT_EQ([quit action], @selector(quitApplication));
    EXPECT_FALSE([[[basic itemArray] objectAtIndex:0] isEnabled]);
    [manager setClickCallback:[] { told.emplace_back("click"); }];
    [manager handleClick];
    EXPECT_THAT(told, ElementsAre("click"));
    NSImage* const image = [[[NSImage alloc] initWithSize:NSMakeSize(16, 10)] autorelease];
    [manager addAnimationFrame:image];
    [manager setMainIcon:image];
    EXPECT_EQ([image size].width, 16) << "the host's own stays as it was";
    [manager setMenu:[manager createStandardMenu]];
    [manager handleMenuItemAction:manager];
    [manager handleMenuItemAction:quit];
    [quit setRepresentedObject:@"中"];
    [manager handleMenuItemAction:quit];
    [manager updateAnimation];
    [manager quitApplication];
    EXPECT_EQ(terminations, 1);
  });
  const Lines last(logged.end() - 4, logged.end());
  EXPECT_THAT(last, ElementsAre("WARN 菜单项点击：无法获取菜单项 ID", "WARN 菜单项点击：无法获取菜单项 ID",
                                "WARN 菜单项点击：回调函数未设置，菜单项 ID: 中", "WARN 动画停止：按钮不存在"));
}

TEST_F(AppKitTest, SurvivesARefusalAndAnExceptionOfThePlatform) {
  const auto logged = run([] {
    standin::refuses = true;
    quill_tray_manager_create();
    standin::throws = true;
    quill_tray_manager_create();
    standin::throws = standin::refuses = false;
    quill_tray_manager_create();
    const auto manager = TrayManager::shared();
    EXPECT_FALSE(decodeImage({reinterpret_cast<const std::uint8_t*>("\x89PNG\r\n\x1a\n rubbish"), 16}));
  });
  EXPECT_EQ(std::count(logged.begin(), logged.end(), "ERROR 状态项创建失败"), 2);
  EXPECT_EQ(logged[3], "ERROR 平台抛出异常: NSInternalInconsistencyException: no bar today");
}

TEST_F(AppKitTest, LeavesNothingBehind) {
  run([] {
    GSDebugAllocationActive(YES);
    const auto alive = [] {
      // GNUstep forgets timers that are over once it waits in each of their modes.
      for (NSString* mode in @[ NSEventTrackingRunLoopMode, NSModalPanelRunLoopMode ]) {
        [[NSRunLoop mainRunLoop] limitDateForMode:mode];
      }
      std::vector<int> counts;
      for (Class each in @[
             [NSImage class], [NSMenu class], [NSMenuItem class], [NSTimer class], [NSData class], [NSDate class],
             [QuillTrayManager class], NSClassFromString(@"StandInItem"), NSClassFromString(@"GSCString"),
             NSClassFromString(@"GSUInlineString")
           ]) {
        counts.push_back(GSDebugAllocationCount(each));
      }
      return counts;
    };
    const auto once = [] {
      @autoreleasepool {
        quill_tray_manager_create();
        quill_tray_manager_set_menu_items_json(R"([{"id":"a","title":"中","keyEquivalent":"Cmd+É"}])");
        quill_tray_manager_set_main_icon(icon_png, sizeof icon_png);
        quill_tray_manager_add_animation_frame(icon_png, sizeof icon_png);
        quill_tray_manager_start_animation();
        quill_tray_manager_reset_animation();
        [[QuillTrayManager shared] createBasicMenu];
      }
      settle();
    };
    for (int i = 0; i < 3; ++i) once();
    const auto before = alive();
    for (int i = 0; i < 20; ++i) once();
    EXPECT_EQ(alive(), before);
  });
}

}  // namespace quill::tests
