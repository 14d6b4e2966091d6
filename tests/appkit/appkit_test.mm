// The library on GNUstep with the stand-in, as a host and a user meet it. Needs a screen.

#import <AppKit/AppKit.h>

#include <atomic>
#include <thread>

#include "decode_image.h"
#include "forked_host.h"
#include "main_loop.h"
#include "process_queue.h"
#include "tray_manager.h"
#import "tray_manager_object.h"
#include "typical_run.h"

namespace quill::tests {

constexpr int kSecondsEastOfUtc = 5 * 3600 + 1800;

Lines told;

Lines takeRecord() { return std::exchange(standin::record, {}); }

/// Opens the menu by a right click. Answers with what was done from then on until it had closed.
Lines rightClick(const std::function<void(NSMenu*)>& user = [](NSMenu*) {}) {
  settle();
  takeRecord();
  standin::user = user;
  @autoreleasepool {
    standin::click(NSRightMouseUp);
  }
  return standin::record;
}

/// How the lines of this second begin.
std::string timestamp() {
  const std::time_t local = std::time(nullptr) + kSecondsEastOfUtc;
  char text[32];
  std::strftime(text, sizeof text, "[%Y-%m-%d %H:%M:%S", std::gmtime(&local));
  return text;
}

class AppKitTest : public ForkedHost {
 protected:
  /// Runs `host` in a process of its own. Answers with what it logged, as "LEVEL message".
  Lines run(const std::function<void()>& host) {
    ForkedHost::run([&] {
      @autoreleasepool {
        standin::install();
        [NSTimeZone setDefaultTimeZone:[NSTimeZone timeZoneForSecondsFromGMT:kSecondsEastOfUtc]];
        [NSApplication sharedApplication];
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

TEST_F(AppKitTest, ATypicalRunIsLoggedAsOnEveryDesktopInLocalTime) {
  const auto begin = timestamp();
  const auto logged = run([this] {
    NSMenu* const menu = [[[NSMenu alloc] initWithTitle:@""] autorelease];
    for (NSString* title in @[ @"One", @"Two" ]) [menu addItemWithTitle:title action:nullptr keyEquivalent:@""];
    typicalRun(
        menu, @"no menu", [](const auto& done) { runUntil(done); }, console);
    settle();
    EXPECT_THAT(standin::record, Contains("openURL: nobody-opens:%EF%BF%BD"));
  });
  EXPECT_EQ(joined(logged), typicalRunLog());
  const auto line = contents(file).substr(0, begin.size());
  EXPECT_TRUE(begin <= line && line <= timestamp()) << line;
}

TEST_F(AppKitTest, WithoutAUserDirectoryLinesReachTheConsoleAlone) {
  ForkedHost::run([] {
    standin::install();
    standin::namesNoDirectory = true;
    quill_tray_manager_set_menu_items_json("[]");
    posix::drainQueues();
  });
  EXPECT_EQ(contents(console), "[TrayManager] [TrayManager] 已设置菜单项数据，数量: 0\n");
  EXPECT_EQ(countIn(home), 1) << "nothing but what it printed";
}

TEST_F(AppKitTest, TheButtonGetsEachSettingOnceAndOneThatThrewAgain) {
  const auto logged = run([] {
    standin::throwsAt = "setAction:";
    quill_tray_manager_create();
    settle();
    const Lines setting{"sendActionOn: 20", "setTarget: QuillTrayManager", "setAction: handleClick",
                        "setHidden: 0",     "hug horizontally 1000",       "hug vertically 1000"};
    Lines expected{"statusItemWithLength: -2", "setFrame: {x = 0; y = 0; width = 22; height = 22}",
                   "setBackgroundColor: clear", "setVisible: 1"};
    expected.insert(expected.end(), setting.begin(), setting.begin() + 3);
    EXPECT_EQ(takeRecord(), expected);

    quill_tray_manager_set_main_icon(icon_png, sizeof icon_png);
    settle();
    expected = {"setTemplate: 1", "setFrame: {x = 0; y = 0; width = 22; height = 22}", "setBackgroundColor: clear"};
    expected.insert(expected.end(), setting.begin(), setting.end());
    for (const char* look : {"setImagePosition: 1", "setBordered: 0", "setTransparent: 0", "setAlphaValue: 1",
                             "setImage: {width = 22; height = 22}"}) {
      expected.emplace_back(look);
    }
    EXPECT_EQ(takeRecord(), expected);
    EXPECT_TRUE([[[standin::newestItem button] image] isTemplate]);
    quill_tray_manager_set_menu_items_json("[]");
    settle();
    EXPECT_THAT(takeRecord(), IsEmpty()) << "nothing that can be seen has changed";

    ASSERT_THAT(standin::layered, SizeIs(2));
    NSArray* const views = [standin::layered[0] subviews];
    ASSERT_EQ([views count], 2U);
    EXPECT_EQ([views objectAtIndex:1], standin::layered[1]);
    for (NSImageView* view in views) {
      EXPECT_TRUE([view isHidden] && [view autoresizingMask] == 18 && [view imageScaling] == 3);
      EXPECT_EQ([view alphaValue], [view image] != nil ? 1.0 : 0.0);
    }
    EXPECT_TRUE([[[views objectAtIndex:0] image] isTemplate]);
  });
  EXPECT_THAT(logged, Contains("ERROR 平台抛出异常: NSInternalInconsistencyException: not today"));
  EXPECT_THAT(logged, Contains("DEBUG 已重置按钮尺寸为: 22.0x22.0")) << "the bar had made it higher";
}

TEST_F(AppKitTest, ClicksAndChoicesReachTheHostWhichMayReplaceTheItemMeanwhile) {
  run([] {
    quill_tray_manager_set_menu_items_json(R"([{"id":"a","title":"A","keyEquivalent":"Cmd+Shift+K"},
        {"id":"b","title":"B","keyEquivalent":"Ctrl+Alt+É"},{"id":"c","title":"C","enabled":false}])");
    quill_tray_manager_set_click_callback([] { told.emplace_back("click"); });
    quill_tray_manager_set_menu_item_callback([](const char* identifier) { told.emplace_back(identifier); });
    quill_tray_manager_create();
    quill_tray_manager_set_main_icon(icon_png, sizeof icon_png);
    settle();
    standin::click(NSLeftMouseUp);
    standin::isDark = true;
    for (int frame = 0; frame < 60; ++frame) quill_tray_manager_add_animation_frame(icon_png, sizeof icon_png);
    quill_tray_manager_start_animation();
    const auto done = rightClick([&](NSMenu* menu) {
      EXPECT_THAT(standin::itemsOf(menu), ElementsAre("A 120000 k", "B c0000 é", "C"));
      const auto isPlaying = [] {
        return std::count(standin::record.begin(), standin::record.end(), "setImage: {width = 22; height = 22}") > 5;
      };
      EXPECT_TRUE(runUntil(isPlaying, NSEventTrackingRunLoopMode)) << "it plays while the menu is open";
      for (const char* title : {"B", "C"}) standin::choose(menu, title);
    });
    EXPECT_THAT(done, IsSupersetOf({"setFont: 12", "setMinimumWidth: 0", "setAppearance: NSAppearanceNameDarkAqua",
                                    "popUp at {x = 0; y = 37}"}));
    EXPECT_THAT(std::exchange(told, {}), ElementsAre("click", "b"));

    const auto leaves = [] { return Value(standin::record, Contains("the item leaves the bar")); };
    quill_tray_manager_set_click_callback([] {
      quill_tray_manager_create();
      settle();
    });
    standin::click(NSLeftMouseUp);
    EXPECT_FALSE(leaves()) << "its button's action is not over";
    settle();
    EXPECT_TRUE(leaves());

    quill_tray_manager_set_menu_item_callback([](const char*) { quill_tray_manager_create(); });
    rightClick([](NSMenu* menu) {
      standin::choose(menu, "A");
      settle();
    });
    EXPECT_FALSE(leaves()) << "the menu is not over";
    settle();
    EXPECT_TRUE(leaves());

    quill_tray_manager_reset_animation();
  });
}

TEST_F(AppKitTest, AHostsMenuStaysTheHostsButForItsLook) {
  const auto logged = run([] {
    NSMenu* const menu = [[NSMenu alloc] initWithTitle:@""];
    NSMenuItem* const item = [[NSMenuItem alloc] initWithTitle:@"One"
                                                        action:@selector(performClose:)
                                                 keyEquivalent:@"k"];
    @autoreleasepool {
      [item setTarget:menu];
      [menu addItem:item];
      quill_tray_manager_set_menu_ptr(menu);
      EXPECT_EQ(takeRecord(), (Lines{"setFont: 12", "setMinimumWidth: 250", "setAppearance: NSAppearanceNameAqua",
                                     "setAttributedTitle: One in size 12"}));
      EXPECT_TRUE([item target] == menu && [item action] == @selector(performClose:));
      quill_tray_manager_create();
      EXPECT_EQ(rightClick()[0], "setAppearance: NSAppearanceNameAqua") << "the host's own font and width stay";
      EXPECT_EQ(standin::record[1], "popUp at {x = 0; y = 37}");
      [menu removeItem:item];
    }
    EXPECT_EQ([item retainCount], 1U);
    @autoreleasepool {
      quill_tray_manager_set_menu_items_json("[]");
      settle();
    }
    EXPECT_EQ([menu retainCount], 1U);
  });
  EXPECT_EQ(logged.front(), "INFO 菜单已设置，菜单项数量: 1");
}

TEST_F(AppKitTest, TheManagerAnswersByNameToEveryOperation) {
  const auto logged = run([] {
    QuillTrayManager* const manager = [QuillTrayManager shared];
    EXPECT_EQ([QuillTrayManager shared], manager);
    NSMenu* const basic = [manager createBasicMenu];
    EXPECT_THAT(standin::itemsOf(basic), ElementsAre("设置", _, "退出 100000 q"));
    for (const char* title : {"设置", "退出"}) standin::choose(basic, title);
    EXPECT_EQ(takeRecord().back(), "terminate: QuillTrayManager");
    [manager setClickCallback:[] { told.emplace_back("click"); }];
    [manager handleClick];
    EXPECT_THAT(told, ElementsAre("click"));
    NSImage* const image = [[[NSImage alloc] initWithSize:NSMakeSize(16, 10)] autorelease];
    [manager addAnimationFrame:image];
    [manager setMainIcon:image];
    EXPECT_EQ([image size].width, 16) << "the host's own stays as it was";
    [manager setMenu:[manager createStandardMenu]];
    [manager handleMenuItemAction:manager];
    NSMenuItem* const item = [[basic itemArray] objectAtIndex:0];
    [item setRepresentedObject:@"中"];
    [manager handleMenuItemAction:item];
    [manager startAnimation];
    [manager resetAnimation];
    [manager updateAnimation];
    [manager stopAnimation];
    standin::refusesItems = true;
    [manager createTray];
  });
  EXPECT_THAT(Lines(logged.end() - 9, logged.end()),
              ElementsAre("WARN 菜单项点击：无法获取菜单项 ID", "WARN 菜单项点击：回调函数未设置，菜单项 ID: 中",
                          "WARN 动画无法启动：按钮不存在", "WARN 动画停止：按钮不存在", "INFO 动画已重置，动画帧数: 0",
                          "WARN 动画停止：按钮不存在", "WARN 动画停止：按钮不存在",
                          "INFO 创建状态项，长度: NSStatusItem.squareLength", "ERROR 状态项创建失败"));
}

TEST_F(AppKitTest, AWorkersAnimationRunsOnTheMainThreadAndNothingIsLeftBehind) {
  run([] {
    GSDebugAllocationActive(YES);
    const auto alive = [] {
      // GNUstep forgets timers that are over once it waits in each of their modes.
      for (NSString* mode in @[ NSEventTrackingRunLoopMode, NSModalPanelRunLoopMode ]) {
        [[NSRunLoop mainRunLoop] limitDateForMode:mode];
      }
      std::vector<int> counts;
      for (NSString* name in @[
             @"NSImage", @"NSMenu", @"NSMenuItem", @"NSTimer", @"NSData", @"NSDate", @"QuillTrayManager",
             @"StandInItem", @"GSCString", @"GSUInlineString"
           ]) {
        counts.push_back(GSDebugAllocationCount(NSClassFromString(name)));
      }
      return counts;
    };
    const auto once = [] {
      @autoreleasepool {
        quill_tray_manager_create();
        quill_tray_manager_set_menu_items_json(R"([{"id":"a","title":"中","keyEquivalent":"Cmd+É"}])");
        quill_tray_manager_set_main_icon(icon_png, sizeof icon_png);
        std::atomic<bool> done = false;
        std::thread worker([&] {
          quill_tray_manager_add_animation_frame(icon_png, sizeof icon_png);
          quill_tray_manager_start_animation();
          quill_tray_manager_stop_animation();
          quill_tray_manager_reset_animation();
          [[QuillTrayManager shared] updateAnimation];
          done = true;
        });
        EXPECT_TRUE(runUntil([&] { return done.load(); }));
        worker.join();
        [[QuillTrayManager shared] createBasicMenu];
      }
      settle();
    };
    for (int i = 0; i < 3; ++i) once();
    const auto before = alive();
    for (int i = 0; i < 20; ++i) once();
    EXPECT_THAT(alive(), Pointwise(Le(), before)) << "an object of the round before may be released late";
    EXPECT_THAT(standin::record, Not(Contains(HasSubstr("off the main thread"))));
  });
}

}  // namespace quill::tests
