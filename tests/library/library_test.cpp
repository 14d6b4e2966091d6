// What a host sees of the library. Each host is a forked child with a home of its own.

#include <gio/gio.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include "private_bus.h"
#include "quill_tray_manager.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using quill::freedesktop::PrivateBus;
using testing::ElementsAre;
using Lines = std::vector<std::string>;

Lines linesOf(const fs::path& file) {
  Lines lines;
  std::ifstream text(file);
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

void addFrame() {
  constexpr std::uint8_t kImage[] = "GIF89a\1\0\1\0\x80\0\0\xff\0\0\0\0\xff,\0\0\0\0\1\0\1\0\0\2\2D\1\0;";
  quill_tray_manager_add_animation_frame(kImage, sizeof kImage);
}

class HostTest : public testing::Test {
 protected:
  HostTest() {
    for (const auto* name : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
      setenv(name, home.c_str(), 1);
    }
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
  }
  ~HostTest() override {
    bus.kill();  // which puts a folder of its own there
    std::error_code ignored;
    fs::remove_all(home, ignored);
  }

  /// Runs `host` until it exits. Answers with what it logged, as "LEVEL message".
  Lines run(const std::function<void()>& host) {
    const auto console = home / "console";
    const auto log = home / "Library/Application Support/com.orvi.tamble/.logs/native.log";
    fs::remove(log);
    const pid_t child = fork();
    if (child == 0) {
      alarm(50);
      if (std::freopen(console.c_str(), "w", stdout) == nullptr) _exit(2);
      host();
      std::exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    const std::string tag = "][TrayManager] [TrayManager] ";
    Lines logged;
    Lines messages;
    for (const auto& line : linesOf(log)) {
      const auto level = line.find("][") + 2;
      const auto end = line.find(']', level);
      const bool isTagged = line.compare(end, tag.size(), tag) == 0;
      logged.push_back(isTagged ? line.substr(level, end - level) + line.substr(end + tag.size() - 1) : line);
      messages.push_back(line.substr(end + 1));
    }
    const auto shown = linesOf(console);
    EXPECT_TRUE(!isLineByLine || shown == messages) << "the console and the file hold the same";
    EXPECT_EQ(status, 0) << testing::PrintToString(shown);
    return logged;
  }

  bool isLineByLine = true;
  fs::path home = fs::path(mkdtemp((testing::TempDir() + "quill-home-XXXXXX").data()));
  PrivateBus bus;  // not started: items wait for it
};

TEST_F(HostTest, WithoutASessionBusEverythingElseWorks) {
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  const auto logged = run([] {
    quill_tray_manager_add_animation_frame(nullptr, 3);
    quill_tray_manager_start_animation();
    quill_tray_manager_create();
    quill_tray_manager_set_menu_items_json(R"([{"id": "a", "title": "A"}])");
    g_autoptr(GMenu) menu = g_menu_new();
    g_autoptr(GMenu) section = g_menu_new();
    g_menu_append(section, "_One", "app.one");
    for (int i = 0; i < 2; ++i) g_menu_append_section(menu, nullptr, G_MENU_MODEL(section));
    g_autoptr(GObject) other = G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
    for (const void* pointer : std::vector<const void*>{menu, other, nullptr}) quill_tray_manager_set_menu_ptr(pointer);
    g_menu_remove_all(section);
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
    for (const char* url : {"http://[::1", "nobody-opens:\xFF"}) quill_tray_manager_open_url(url);
  });
  EXPECT_THAT(logged, ElementsAre("WARN 动画无法启动：动画帧为空(0)或动画正在运行(false)",
                                  "INFO 创建状态项，长度: NSStatusItem.squareLength", "ERROR 状态项创建失败",
                                  "INFO 已设置菜单项数据，数量: 1", "INFO 菜单已设置，菜单项数量: 3",
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
  const std::pair<int, std::function<void()>> hosts[] = {
      {2,
       [] {  // runs it on the first thread; its own sources call, too
         g_autoptr(GMainLoop) loop = g_main_loop_new(nullptr, FALSE);
         const auto animateAndQuit = [](gpointer ended) -> gboolean {
           return animate(), g_main_loop_quit(static_cast<GMainLoop*>(ended)), FALSE;
         };
         std::thread other([&] { animate(), g_idle_add(animateAndQuit, loop); });
         g_main_loop_run(loop);
         other.join();
       }},
      {2,
       [] {  // on another thread
         g_autoptr(GMainLoop) loop = g_main_loop_new(nullptr, FALSE);
         std::thread other(g_main_loop_run, loop);
         while (g_main_loop_is_running(loop) == FALSE) std::this_thread::yield();
         animate();
         std::thread(animate).join();
         g_main_loop_quit(loop);
         other.join();
       }},
      {3,
       [] {  // by hand, and not at first
         animate();
         EXPECT_TRUE(waitsForTheLoop(animate));
         animate();
       }},
      {2,
       [] {  // on another thread, not at first
         std::thread([] { EXPECT_TRUE(waitsForTheLoop(animate)); }).join();
         animate();  // that thread has ended: nobody runs it, and the first one need not wait
       }},
  };
  for (const auto& [calls, host] : hosts) {
    Lines expected;
    for (int i = 0; i < calls; ++i) {
      expected.insert(expected.end(), {"WARN 动画无法启动：按钮不存在", "WARN 动画停止：按钮不存在",
                                       "WARN 动画停止：按钮不存在", "INFO 动画已重置，动画帧数: 0"});
    }
    EXPECT_EQ(run(host), expected);
  }
}

TEST_F(HostTest, ThreadsAnimateWhileTheMenuIsReplaced) {
  const char* const seconds = std::getenv("QUILL_STRESS_SECONDS");
  const std::chrono::seconds duration(seconds != nullptr ? std::atoi(seconds) : 3);
  bus.start();
  isLineByLine = false;
  const auto logged = run([duration] {
    alarm(static_cast<unsigned>(duration.count()) + 60);
    quill_tray_manager_create();
    std::atomic<bool> isOver = false;
    std::vector<std::thread> threads;
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
    std::atomic<bool> haveEnded = false;
    std::thread clock([&] {
      std::this_thread::sleep_for(duration);
      isOver = true;
      for (auto& thread : threads) thread.join();
      haveEnded = true;
    });
    while (!haveEnded) {  // by hand, which leaves moments in which nobody runs it
      quill_tray_manager_stop_animation();
      g_main_context_iteration(nullptr, FALSE);
    }
    clock.join();
  });
  EXPECT_GT(std::count(logged.begin(), logged.end(), "INFO 动画已重置，动画帧数: 0"), 8);
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
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (linesOf(opened).size() < count && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(5ms);
    }
    return linesOf(opened).size() == count;
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
  EXPECT_THAT(linesOf(opened), ElementsAre("1 " + legal + " 0000000000000000",
                                           "1 quilltest:a%20%22b%22%20%3C%E4%B8%AD%3E%60id%60%7C%5C 0000000000000000"));
  EXPECT_THAT(logged, ElementsAre("INFO 已打开 URL: " + legal, "INFO 已打开 URL: quilltest:a \"b\" <中>`id`|\\"));
}

}  // namespace
