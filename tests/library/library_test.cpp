// What a host sees of the library.

#include <gio/gio.h>

#include <atomic>
#include <future>
#include <thread>

#include "forked_host.h"
#include "private_bus.h"
#include "quill_tray_manager.h"

namespace quill::testing {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

void addFrame() {
  constexpr std::uint8_t kImage[] = "GIF89a\1\0\1\0\x80\0\0\xff\0\0\0\0\xff,\0\0\0\0\1\0\1\0\0\2\2D\1\0;";
  quill_tray_manager_add_animation_frame(kImage, sizeof kImage);
}

class HostTest : public ForkedHost {
 protected:
  HostTest() {
    for (const auto* name : {"XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) setenv(name, home.c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
  }

  /// Runs `host` until it exits. Answers with what it logged, as "LEVEL message".
  Lines run(const std::function<void()>& host) {
    fs::remove(file);
    ForkedHost::run(host);
    auto logged = lines(file);
    const std::string names = "[TrayManager] [TrayManager]";  // behind the time and the level
    for (auto& line : logged) {
      const auto level = line.substr(26, line.find(']', 26) - 26);
      EXPECT_EQ(line.find(names), 27 + level.size()) << line;
      line = level + line.substr(27 + level.size() + names.size());
    }
    return logged;
  }

  freedesktop::PrivateBus bus;  // not started: items wait for it
};

TEST_F(HostTest, WithoutASessionBusEverythingElseWorks) {
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  const auto logged = run([] {
    quill_tray_manager_add_animation_frame(nullptr, 3);
    quill_tray_manager_start_animation();
    quill_tray_manager_create();
    quill_tray_manager_set_menu_items_json(R"([{"id": "a", "title": "A"}])");
    g_autoptr(GMenu) menu = g_menu_new();
    g_menu_append(menu, "_One", "app.one");
    g_autoptr(GObject) other = G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
    for (const void* pointer : std::vector<const void*>{menu, other, nullptr}) quill_tray_manager_set_menu_ptr(pointer);
    g_menu_remove_all(menu);
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
    for (const char* url : {"http://[::1", "nobody-opens:\xFF"}) quill_tray_manager_open_url(url);
  });
  EXPECT_THAT(logged, ElementsAre("WARN 动画无法启动：动画帧为空(0)或动画正在运行(false)",
                                  "INFO 创建状态项，长度: NSStatusItem.squareLength", "ERROR 状态项创建失败",
                                  "INFO 已设置菜单项数据，数量: 1", "INFO 菜单已设置，菜单项数量: 1",
                                  "ERROR 打开 URL 失败：无效的 URL 字符串: http://[::1",
                                  "INFO 已打开 URL: nobody-opens:\uFFFD"));
}

void animate() {
  addFrame();
  quill_tray_manager_start_animation();
  quill_tray_manager_stop_animation();
  quill_tray_manager_reset_animation();
}

/// Runs the main context on this thread once it has not been run for a while.
bool waitsForTheLoop(const std::function<void()>& call) {
  auto called = std::async(std::launch::async, call);
  const bool waits = called.wait_for(50ms) == std::future_status::timeout;
  while (called.wait_for(0s) != std::future_status::ready) g_main_context_iteration(nullptr, FALSE);
  return waits;
}

TEST_F(HostTest, TheMainThreadIsTheOneThatRunsTheLoop) {
  const std::function<void()> hosts[] = {
      [] {  // runs it on the first thread; its own sources call, too
        g_autoptr(GMainLoop) loop = g_main_loop_new(nullptr, FALSE);
        const auto animateAndQuit = [](gpointer ended) -> gboolean {
          return animate(), g_main_loop_quit(static_cast<GMainLoop*>(ended)), FALSE;
        };
        const std::jthread other([&] { animate(), g_idle_add(animateAndQuit, loop); });
        g_main_loop_run(loop);
      },
      [] {  // on another thread
        g_autoptr(GMainLoop) loop = g_main_loop_new(nullptr, FALSE);
        const std::jthread other(g_main_loop_run, loop);
        while (g_main_loop_is_running(loop) == FALSE) std::this_thread::yield();
        animate();
        std::thread(animate).join();
        g_main_loop_quit(loop);
      },
      [] {  // by hand, and not at first
        animate();
        EXPECT_TRUE(waitsForTheLoop(animate));
      },
      [] {  // on another thread, not at first
        std::thread([] { EXPECT_TRUE(waitsForTheLoop(animate)); }).join();
        animate();  // that thread has ended: nobody runs it, and the first one need not wait
      },
  };
  for (const auto& host : hosts) {
    const auto logged = run(host);
    ASSERT_EQ(std::count(logged.begin(), logged.end(), "WARN 动画停止：按钮不存在"), 4);
    EXPECT_EQ(logged.back(), "INFO 动画已重置，动画帧数: 0");
  }
}

TEST_F(HostTest, ThreadsAnimateWhileTheMenuIsReplaced) {
  const char* const seconds = std::getenv("QUILL_STRESS_SECONDS");
  const std::chrono::seconds duration(seconds != nullptr ? std::atoi(seconds) : 3);
  bus.start();
  const auto logged = run([duration] {
    alarm(static_cast<unsigned>(duration.count()) + 60);
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
    const auto replaceMenu = [](gpointer) -> gboolean {
      static bool isHosts = false;
      if (isHosts = !isHosts; !isHosts)
        return quill_tray_manager_set_menu_items_json(R"([{"id": "a", "title": "A"}])"), G_SOURCE_CONTINUE;
      g_autoptr(GMenu) menu = g_menu_new();
      g_menu_append(menu, "One", "app.one");
      quill_tray_manager_set_menu_ptr(menu);
      g_menu_append(menu, "Two", "app.two");
      return G_SOURCE_CONTINUE;
    };
    g_timeout_add(1, replaceMenu, nullptr);
    const auto clock = std::async(std::launch::async, [&] {
      std::this_thread::sleep_for(duration);
      isOver = true;
      threads.clear();
    });
    while (clock.wait_for(0s) != std::future_status::ready) {  // by hand, which leaves moments in which nobody runs it
      quill_tray_manager_stop_animation();
      g_main_context_iteration(nullptr, FALSE);
    }
  });
  EXPECT_GT(std::count(logged.begin(), logged.end(), "INFO 动画已重置，动画帧数: 0"), 8);
}

TEST_F(HostTest, AChildForkedDuringTheFirstCallsCanCallEverything) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's own allocator hangs in such a child";
#endif
  const auto callAll = [] {
    quill_tray_manager_open_url(nullptr);
    quill_tray_manager_set_click_callback(nullptr);
    quill_tray_manager_set_menu_item_callback(nullptr);
    quill_tray_manager_set_menu_ptr(nullptr);
    quill_tray_manager_set_menu_items_json("[]");
    quill_tray_manager_create();
    quill_tray_manager_set_main_icon(nullptr, 0);
  };
  for (unsigned round = 0; round < 50; ++round) {
    ForkedHost::run([&] {  // in which nothing has been called yet
      std::atomic<bool> begins = false;
      const std::jthread first([&] {
        begins = true;
        callAll();
      });
      while (!begins) continue;
      for (unsigned wait = 0; wait < round * 200; ++wait) std::atomic_signal_fence(std::memory_order_seq_cst);
      const pid_t child = fork();
      if (child == 0) {
        alarm(10);
        callAll();
        animate();
        _exit(0);
      }
      int status = -1;
      waitpid(child, &status, 0);
      EXPECT_EQ(status, 0) << round;
    });
  }
}

TEST_F(HostTest, UrlsArriveByteForByteAlsoFromAProcessThatEnds) {
  // The user's handler of a scheme, which notes its arguments and its signal mask.
  const auto script = home / "handler";
  const auto opened = home / "opened";
  fs::create_directories(home / "applications");
  std::ofstream(home / "applications/handler.desktop")
      << "[Desktop Entry]\nType=Application\nName=Handler\nExec=" << script.string() << " %u\n";
  std::ofstream(home / "mimeapps.list") << "[Default Applications]\nx-scheme-handler/quilltest=handler.desktop\n";
  std::ofstream(script) << "#!/bin/sh\nblocked=$(sed -n 's/^SigBlk:\t//p' /proc/$$/status)\n"
                        << "printf '%s %s %s\\n' \"$#\" \"$1\" \"$blocked\" >> '" << opened.string() << "'\n";
  fs::permissions(script, fs::perms::owner_all);
  const auto isOpened = [&](std::size_t count) {
    for (int i = 0; i < 2000 && lines(opened).size() < count; ++i) std::this_thread::sleep_for(5ms);
    return lines(opened).size() == count;
  };
  const std::string legal = "quilltest:a%20b;c?x=$(touch)&y='1'&z=~!*,$HOME#f@[1]";
  const auto logged = run([&] {
    const auto handler = [](int) {};
    std::signal(SIGCHLD, handler);
    quill_tray_manager_open_url(legal.c_str());
    EXPECT_TRUE(isOpened(1));
    EXPECT_EQ(waitpid(-1, nullptr, 0), -1) << "no child, running or ended";
    EXPECT_EQ(std::signal(SIGCHLD, SIG_DFL), static_cast<void (*)(int)>(handler));
    std::thread([] { quill_tray_manager_open_url("quilltest:a \"b\" <中>`id`|\\"); }).join();
  });
  EXPECT_TRUE(isOpened(2));
  EXPECT_THAT(lines(opened), ElementsAre("1 " + legal + " 0000000000000000",
                                         "1 quilltest:a%20%22b%22%20%3C%E4%B8%AD%3E%60id%60%7C%5C 0000000000000000"));
  EXPECT_THAT(logged, ElementsAre("INFO 已打开 URL: " + legal, "INFO 已打开 URL: quilltest:a \"b\" <中>`id`|\\"));
}

}  // namespace
}  // namespace quill::testing
