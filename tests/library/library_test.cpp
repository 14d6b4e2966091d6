// What a host sees of the library.

#include <sys/resource.h>

#include <atomic>
#include <climits>
#include <cstdlib>
#include <future>
#include <new>
#include <thread>

#include "host_fixture.h"
#include "typical_run.h"

/// Counts down the process's allocations. The one that reaches 0 fails.
static std::atomic<int> allocationsLeft = INT_MAX;

void* operator new(std::size_t size) {
  auto* const memory = --allocationsLeft == 0 ? nullptr : std::malloc(size);
  return memory != nullptr ? memory : throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace quill::tests {

TEST_F(HostTest, HostWithoutASessionBusKeepsMenuAndUrls) {
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  const auto logged = run([] {
    quill_tray_manager_create();
    g_autoptr(GMenu) menu = g_menu_new();
    g_menu_append(menu, "_One", "app.one");
    quill_tray_manager_set_menu_ptr(menu);
    g_menu_remove_all(menu);
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
    std::thread([] {
      pthread_cancel(pthread_self());
      quill_tray_manager_open_url(nullptr);
      pthread_testcancel(), abort();
    }).join();
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
    const auto runUntil = [](const auto& done) {
      while (!done()) g_main_context_iteration(nullptr, TRUE);
    };
    typicalRun(menu, other, runUntil, console);
  });
  EXPECT_EQ(joined(logged), typicalRunLog());
}

void animate() {
  addFrame();
  quill_tray_manager_start_animation();
  quill_tray_manager_stop_animation();
  quill_tray_manager_reset_animation();
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

/// Calls on another thread while this one does not run the main context, then runs it until the call returns. Returns
/// whether the call waited.
bool waitsForTheLoop(const std::function<void()>& call) {
  auto called = std::async(std::launch::async, call);
  const bool waits = called.wait_for(50ms) == std::future_status::timeout;
  while (called.wait_for(0s) != std::future_status::ready) g_main_context_iteration(nullptr, FALSE);
  return waits;
}

TEST_F(HostTest, ThreadThatRunsTheLoopIsTheMainThread) {
  const std::function<void()> hosts[] = {
      [] {  // the first thread runs it, and a source calls the library as well
        g_autoptr(GMainLoop) loop = g_main_loop_new(nullptr, FALSE);
        const auto end = [](gpointer of) { return animate(), g_main_loop_quit(static_cast<GMainLoop*>(of)), FALSE; };
        const std::jthread other([&] { animate(), g_idle_add(end, loop); });
        g_main_loop_run(loop);
      },
      [] {  // another thread runs it
        g_autoptr(GMainLoop) loop = g_main_loop_new(nullptr, FALSE);
        const std::jthread other(g_main_loop_run, loop);
        while (g_main_loop_is_running(loop) == FALSE) std::this_thread::yield();
        animate();
        std::thread(animate).join();
        g_main_loop_quit(loop);
      },
      [] {  // the first thread iterates it later
        animate();
        EXPECT_TRUE(waitsForTheLoop(animate));
      },
      [] {  // another thread iterates it later and ends, so that the first one need not wait
        std::thread([] {
          animate();
          while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
          EXPECT_TRUE(waitsForTheLoop(animate));
        }).join();
        animate();
      },
  };
  const std::string refused = "WARN 动画无法启动：按钮不存在\n", stopped = "WARN 动画停止：按钮不存在\n";
  const auto each = refused + stopped + stopped + "INFO 动画已重置，动画帧数: 0\n";
  for (const auto& host : hosts) {
    const auto logged = run(host);
    EXPECT_EQ(joined(logged), times(std::max<std::size_t>(logged.size() / 4, 2), each));
  }
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

TEST_F(HostTest, EightThreadsAnimateWhileTheMenuIsReplaced) {
  bus.start();
  const auto logged = run([] {
    quill_tray_manager_create();
    std::atomic<bool> isOver = false;
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < 8; ++i) {
      threads.emplace_back([&, i] {
        void (*const calls[])() = {addFrame, quill_tray_manager_start_animation, addFrame,
                                   quill_tray_manager_stop_animation, quill_tray_manager_reset_animation};
        for (unsigned k = i; !isOver; ++k) calls[k % 5]();
      });
    }
    const auto end = std::chrono::steady_clock::now() + (isLong ? 60s : 3s);
    while (std::chrono::steady_clock::now() < end) {
      g_autoptr(GMenu) menu = g_menu_new();
      quill_tray_manager_set_menu_ptr(menu);
      g_menu_append(menu, "One", "app.one");
      setItem();
      g_main_context_iteration(nullptr, FALSE);  // by hand, which leaves moments in which nobody runs it
    }
    isOver = true;
    waitsForTheLoop([&] { threads.clear(); });
  });
  EXPECT_GT(std::count(logged.begin(), logged.end(), "INFO 动画已重置，动画帧数: 0"), 8);
}

TEST_F(HostTest, ForkedChildReturnsFromEachCall) {
  bus.start();
  const auto callAllInAChild = [](const std::function<void()>& first) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(10);
      first();
      for (const auto& call : kCalls) call();
      kIsSanitized ? _exit(0) : exit(0);  // the leak sanitizer would wait for threads that the child lacks
    }
    EXPECT_EQ(statusOf(child), 0);
  };
  run([&] {
    quill_tray_manager_create();
    addFrame();
    quill_tray_manager_start_animation();
    callAllInAChild([] { g_main_context_iteration(nullptr, TRUE); });  // the tick is the parent's
    iterateUntilLogged("动画已停止");
    std::atomic<bool> isOver = false;
    const auto animateOn = [&isOver] {
      while (!isOver) animate();
    };
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(animateOn);
    waitsForTheLoop([&] {
      for (int i = 0; i < 9; ++i) callAllInAChild([] { close_range(STDERR_FILENO + 1, ~0U, 0); });  // as a daemon
      callAllInAChild([] {
        int ends[2]{};
        std::ignore = pipe(ends) + dup2(ends[1], STDOUT_FILENO);
        std::ignore = write(STDOUT_FILENO, std::string(65536, 'x').data(), 65536);  // full
      });
      isOver = true;
      threads.clear();
    });
  });
  EXPECT_EQ(lines(console).size(), lines(file).size() + 10) << "a line of each child but the last one";
}

TEST_F(HostTest, CallWithoutMemoryLogsAnErrorAndKeepsTheState) {
  if (kIsSanitized) GTEST_SKIP() << "a sanitizer takes all addresses for itself";
  bus.start();
  const auto logged = run([] {
    quill_tray_manager_create();
    setItem();
    const std::string huge = R"([{"id": "a", "title": ")" + std::string(64 << 20, 'x') + R"("}])";
    auto large = std::to_array(kOnePixelGif);
    large[6] = large[8] = 0;
    large[7] = large[9] = 16;  // 4096 pixels a side
    limitAddresses(16 << 20);
    quill_tray_manager_set_menu_items_json(huge.c_str());
    quill_tray_manager_set_main_icon(large.data(), large.size());
    quill_tray_manager_add_animation_frame(large.data(), large.size());
    quill_tray_manager_open_url(huge.c_str());
    quill_tray_manager_create();  // counts the entries
  });
  EXPECT_EQ(std::count(logged.begin(), logged.end(), "ERROR 内存不足"), 4);
  EXPECT_THAT(logged, Contains("INFO 已使用动态菜单数据创建菜单，菜单项数量: 1"));
}

TEST_F(HostTest, AnimationOutlivesEachAllocationThatFails) {
  if (kIsSanitized) GTEST_SKIP() << "a sanitizer allocates, too";
  bus.start();
  constexpr int kRounds = 60;
  const auto logged = run([] {
    quill_tray_manager_create();
    addFrame();
    for (int failing = 1; failing <= kRounds; ++failing) {
      const auto callWithout = [failing](const auto& call) {
        allocationsLeft = failing, call(), allocationsLeft = INT_MAX;
      };
      setItem();
      setIcon();
      callWithout(quill_tray_manager_start_animation);
      quill_tray_manager_start_animation();
      quill_tray_manager_stop_animation();
      quill_tray_manager_open_url("nobody-opens:a");
      callWithout([] {
        while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
      });
      quill_tray_manager_create();
    }
  });
  EXPECT_GE(std::count(logged.begin(), logged.end(), "INFO 开始动画，总帧数: 1，直接更新按钮图像"), kRounds);
  EXPECT_GT(std::count(logged.begin(), logged.end(), "ERROR 内存不足"), 20);
}

TEST_F(HostTest, CallWithoutADescriptorLogsItAndTheHostGoesOn) {
  if (kIsSanitized) GTEST_SKIP() << "a sanitizer needs descriptors itself";
  run([] {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    const rlimit none{0, files.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none), quill_tray_manager_create();
    setrlimit(RLIMIT_NOFILE, &files), quill_tray_manager_create();
    setrlimit(RLIMIT_NOFILE, &none), quill_tray_manager_open_url("nobody-opens:a");
  });
  for (const char* line : {"] 没有可用的文件描述符", "状态项创建成功", "没有可用的线程或文件描述符: nobody-opens:a"})
    EXPECT_THAT(contents(console), HasSubstr(line));
}

}  // namespace quill::tests
