// What a host sees of the library.

#include <atomic>
#include <future>
#include <thread>

#include "host_fixture.h"
#include "typical_run.h"

namespace quill::tests {

TEST_F(HostTest, HostWithoutASessionBusKeepsMenuAndUrls) {
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  const auto logged = run([] {
    quill_tray_manager_create();
    g_autoptr(GMenu) menu = g_menu_new();
    g_menu_append(menu, "_One", "app.one");
    quill_tray_manager_set_menu_ptr(menu);
    quill_tray_manager_open_url(nullptr);
    quill_tray_manager_open_url("nobody-opens:a");
  });
  EXPECT_THAT(logged, ElementsAre(_, "ERROR 状态项创建失败", "INFO 菜单已设置，菜单项数量: 1",
                                  "ERROR 打开 URL 失败：URL 字符串为空", "INFO 已打开 URL: nobody-opens:a"));
}

TEST_F(HostTest, TypicalRunLogsTheSameLinesOnEveryDesktop) {
  const auto logged = run([this] {
    g_autoptr(GMenu) menu = g_menu_new();
    for (const char* label : {"One", "Two"}) g_menu_append(menu, label, "app.none");
    g_autoptr(GObject) other = G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
    typicalRun(menu, other, [this] { iterateUntilLogged("动画已停止"); });
  });
  EXPECT_EQ(joined(logged), contents(CASES "../support/typical_run.txt"));
}

/// All eleven functions.
const std::function<void()> kCalls[] = {
    addFrame,
    quill_tray_manager_start_animation,
    quill_tray_manager_stop_animation,
    quill_tray_manager_reset_animation,
    quill_tray_manager_create,
    setIcon,
    setItem,
    [menu = g_menu_new()] { quill_tray_manager_set_menu_ptr(menu); },
    [] { quill_tray_manager_set_click_callback(nullptr); },
    [] { quill_tray_manager_set_menu_item_callback(nullptr); },
    [] { quill_tray_manager_open_url(nullptr); },
};

void animate() {
  for (int i = 0; i < 4; ++i) kCalls[i]();
}

/// Calls on another thread while this one does not run the main context, then runs it until the call returns. Returns
/// whether the call waited.
bool waitsForTheLoop(const std::function<void()>& call) {
  auto called = std::async(std::launch::async, call);
  const bool waits = called.wait_for(50ms) == std::future_status::timeout;
  while (called.wait_for(0s) != std::future_status::ready) g_main_context_iteration(nullptr, FALSE);
  return waits;
}

TEST_F(HostTest, ThreadThatRunsTheLoopIsTheMainThread) {
  const auto iterate = [] {
    animate();
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
    EXPECT_TRUE(waitsForTheLoop(animate));
  };
  const std::function<void()> hosts[] = {
      iterate,
      [&] {  // another thread iterates it and ends, so that the first one need not wait
        std::thread(iterate).join();
        animate();
      },
      [] {  // another thread runs it
        g_autoptr(GMainLoop) loop = g_main_loop_new(nullptr, FALSE);
        const std::jthread other(g_main_loop_run, loop);
        while (g_main_loop_is_running(loop) == FALSE) std::this_thread::yield();
        animate();
        std::thread(animate).join();
        g_main_loop_quit(loop);
      },
  };
  const std::string refused = "WARN 动画无法启动：按钮不存在\n", stopped = "WARN 动画停止：按钮不存在\n";
  const auto each = refused + stopped + stopped + "INFO 动画已重置，动画帧数: 0\n";
  for (const auto& host : hosts) EXPECT_THAT(joined(run(host)), AnyOf(times(2, each), times(3, each)));
}

TEST_F(HostTest, ThreadThatRunsTheLoopLaterLogsLikeTheFirstThread) {
  for (const auto& first : kCalls) {
    const auto host = [&] {
      first();
      animate();
      addFrame();
      quill_tray_manager_create();
      setIcon();
      quill_tray_manager_start_animation();
      iterateUntilLogged("恢复按钮主图标");
    };
    const auto onTheFirst = joined(run(host));
    EXPECT_THAT(onTheFirst, HasSubstr("开始动画"));
    EXPECT_EQ(joined(run([&] { std::thread(host).join(); })), onTheFirst);
  }
}

void workWhileEightThreadsAnimate(const std::function<void()>& work) {
  std::atomic<bool> isOver = false;
  const auto animateOn = [&isOver] {
    while (!isOver) animate();
  };
  std::vector<std::jthread> threads(8);
  for (auto& thread : threads) thread = std::jthread(animateOn);
  work();
  isOver = true;
  waitsForTheLoop([&] { threads.clear(); });
}

TEST_F(HostTest, EightThreadsAnimateWhileTheMenuIsReplaced) {
  bus.start();
  run([this] {
    const auto replaceMenu = [this] {
      for (int i = 0; i < 1000 || !hasPrinted("动画已重置"); ++i) {
        g_autoptr(GMenu) menu = g_menu_new();
        quill_tray_manager_set_menu_ptr(menu);
        g_menu_append(menu, "One", "app.one");
        setItem();
        g_main_context_iteration(nullptr, FALSE);  // between two of these, no thread runs the loop
      }
    };
    quill_tray_manager_create();
    workWhileEightThreadsAnimate(replaceMenu);
  });
}

TEST_F(HostTest, ForkedChildReturnsFromEachCall) {
  bus.start();
  const auto callAllInChildren = [] {
    for (int i = 0; i < 10; ++i) {
      const pid_t child = fork();
      if (child == 0) {
        alarm(10);
        close_range(STDERR_FILENO + 1, ~0U, 0);  // as a daemon
        for (const auto& call : kCalls) call();
        kIsSanitized ? _exit(0) : exit(0);  // the leak sanitizer would wait for threads that the child lacks
      }
      EXPECT_EQ(statusOf(child), 0);
    }
  };
  run([&] {
    quill_tray_manager_create();
    workWhileEightThreadsAnimate([&] { waitsForTheLoop(callAllInChildren); });
  });
  EXPECT_EQ(lines(console).size(), lines(file).size() + 10) << "a line of each child";
}

}  // namespace quill::tests
