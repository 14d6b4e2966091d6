// What a host sees of the library. Each host is a forked child with a home of its own.

#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <sstream>
#include <thread>

#include "private_bus.h"
#include "quill_tray_manager.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using quill::freedesktop::PrivateBus;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;
using Lines = std::vector<std::string>;

Lines linesOf(const fs::path& file) {
  Lines lines;
  std::ifstream text(file);
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

bool waitUntil(const std::function<bool()>& done) {
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (!done() && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(5ms);
  return done();
}

void addFrame() {
  gsize size = 0;
  const std::unique_ptr<guchar, void (*)(gpointer)> png(
      g_base64_decode("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAAAAAA6fptVAAAACklEQVR4nGNgAAAAAgABSK+kcQAAAABJRU5ErkJggg==",
                      &size),
      g_free);
  quill_tray_manager_add_animation_frame(png.get(), static_cast<intptr_t>(size));
}

class HostTest : public testing::Test {
 protected:
  HostTest() {
    setenv("HOME", home.c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    setenv("XDG_RUNTIME_DIR", home.c_str(), 1);
    for (const auto* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"}) setenv(name, home.c_str(), 1);
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
    Lines logged;
    Lines messages;
    for (const auto& line : linesOf(log)) {
      const auto level = line.find("][") + 2;
      const auto message = line.find(']', level);
      messages.push_back(line.substr(message + 1));
      logged.push_back(line.substr(level, message - level) + line.substr(line.rfind("[TrayManager]") + 13));
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

TEST_F(HostTest, EachFailureLogsItsLineOnce) {
  const auto logged = run([] {
    const std::uint8_t noImage[] = {1, 2, 3};
    for (const intptr_t length : {-1, 0, 3}) quill_tray_manager_add_animation_frame(noImage, length);
    quill_tray_manager_add_animation_frame(nullptr, 3);
    quill_tray_manager_start_animation();
    addFrame();
    quill_tray_manager_start_animation();
    quill_tray_manager_stop_animation();
    quill_tray_manager_reset_animation();
    quill_tray_manager_set_menu_ptr(nullptr);
    const std::unique_ptr<GObject, void (*)(gpointer)> other(
        static_cast<GObject*>(g_object_new(G_TYPE_OBJECT, nullptr)), g_object_unref);
    quill_tray_manager_set_menu_ptr(other.get());
    for (const char* url : {static_cast<const char*>(nullptr), "", "http://[::1"}) quill_tray_manager_open_url(url);
    quill_tray_manager_open_url("nobody-opens:\xFF");
  });
  EXPECT_THAT(
      logged,
      ElementsAre("WARN 动画无法启动：动画帧为空(0)或动画正在运行(false)", "WARN 动画无法启动：按钮不存在",
                  "WARN 动画停止：按钮不存在", "WARN 动画停止：按钮不存在", "INFO 动画已重置，动画帧数: 0",
                  "ERROR 打开 URL 失败：URL 字符串为空", "ERROR 打开 URL 失败：无效的 URL 字符串: ",
                  "ERROR 打开 URL 失败：无效的 URL 字符串: http://[::1", "INFO 已打开 URL: nobody-opens:\uFFFD"));
}

TEST_F(HostTest, WithoutASessionBusEverythingElseWorks) {
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  const auto logged = run([] {
    quill_tray_manager_create();
    quill_tray_manager_set_menu_items_json(R"([{"id": "a", "title": "A"}])");
    const std::unique_ptr<GMenu, void (*)(gpointer)> menu(g_menu_new(), g_object_unref);
    const std::unique_ptr<GMenu, void (*)(gpointer)> section(g_menu_new(), g_object_unref);
    g_menu_append(section.get(), "_One", "app.one");
    for (int i = 0; i < 2; ++i) g_menu_append_section(menu.get(), nullptr, G_MENU_MODEL(section.get()));
    quill_tray_manager_set_menu_ptr(menu.get());
    g_menu_remove_all(section.get());
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
  });
  EXPECT_THAT(logged, ElementsAre("INFO 创建状态项，长度: NSStatusItem.squareLength", "ERROR 状态项创建失败",
                                  "INFO 已设置菜单项数据，数量: 1", "INFO 菜单已设置，菜单项数量: 3"));
}

/// A host's run loop, on whichever thread calls run().
class Loop {
 public:
  void run() { g_main_loop_run(loop_.get()); }
  void quit() { g_main_loop_quit(loop_.get()); }

 private:
  std::unique_ptr<GMainLoop, void (*)(GMainLoop*)> loop_{g_main_loop_new(nullptr, FALSE), g_main_loop_unref};
};

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
         Loop loop;
         std::thread other([&] {
           animate();
           loop.quit();
         });
         loop.run();
         other.join();
         g_idle_add([](gpointer ended) -> gboolean { return animate(), static_cast<Loop*>(ended)->quit(), FALSE; },
                    &loop);
         loop.run();
       }},
      {2,
       [] {  // on another thread
         Loop loop;
         std::promise<void> runs;
         std::thread other([&] {
           g_idle_add(
               [](gpointer told) -> gboolean { return static_cast<std::promise<void>*>(told)->set_value(), FALSE; },
               &runs);
           loop.run();
         });
         runs.get_future().wait();
         animate();
         std::thread(animate).join();
         loop.quit();
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
         EXPECT_TRUE(waitsForTheLoop(animate)) << "the first thread is not the main one any more, until it runs it";
       }},
  };
  const Lines perCall = {"WARN 动画无法启动：按钮不存在", "WARN 动画停止：按钮不存在", "WARN 动画停止：按钮不存在",
                         "INFO 动画已重置，动画帧数: 0"};
  for (const auto& [calls, host] : hosts) {
    Lines expected;
    for (int i = 0; i < calls; ++i) expected.insert(expected.end(), perCall.begin(), perCall.end());
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
    Loop loop;
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
      if (isHosts = !isHosts; isHosts) {
        const std::unique_ptr<GMenu, void (*)(gpointer)> menu(g_menu_new(), g_object_unref);
        g_menu_append(menu.get(), "One", "app.one");
        quill_tray_manager_set_menu_ptr(menu.get());
        g_menu_append(menu.get(), "Two", "app.two");
      } else {
        quill_tray_manager_set_menu_items_json(R"([{"id": "a", "title": "A"}])");
      }
      return G_SOURCE_CONTINUE;
    };
    g_timeout_add(1, replaceMenu, nullptr);
    std::thread clock([&] {
      std::this_thread::sleep_for(duration);
      isOver = true;
      for (auto& thread : threads) thread.join();
      loop.quit();
    });
    loop.run();
    clock.join();
  });
  EXPECT_GT(std::count(logged.begin(), logged.end(), "INFO 动画已重置，动画帧数: 0"), 8);
}

/// A handler of the scheme "quilltest" for the user, which notes its arguments and its signal mask.
class UrlTest : public HostTest {
 protected:
  UrlTest() {
    fs::create_directories(home / "applications");
    std::ofstream(home / "applications/handler.desktop")
        << "[Desktop Entry]\nType=Application\nName=Handler\nExec=" << script.string() << " %u\n";
    std::ofstream(home / "mimeapps.list") << "[Default Applications]\nx-scheme-handler/quilltest=handler.desktop\n";
    std::ofstream(script) << "#!/bin/sh\nblocked=$(sed -n 's/^SigBlk:\t//p' /proc/$$/status)\n"
                          << "printf '%s %s %s\\n' \"$#\" \"$1\" \"$blocked\" >> '" << opened.string() << "'\n";
    fs::permissions(script, fs::perms::owner_all);
  }
  bool isOpened(std::size_t count) {
    return waitUntil([&] { return linesOf(opened).size() >= count; });
  }
  static std::string note(const std::string& url) { return "1 " + url + " 0000000000000000"; }

  const fs::path script = home / "handler";
  const fs::path opened = home / "opened";
};

TEST_F(UrlTest, ArriveByteForByteAlsoFromAProcessThatEnds) {
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
  EXPECT_THAT(linesOf(opened),
              UnorderedElementsAreArray({note(legal), note("quilltest:a%20%22b%22%20%3C%E4%B8%AD%3E%60id%60%7C%5C")}));
  EXPECT_THAT(logged, ElementsAre("INFO 已打开 URL: " + legal, "INFO 已打开 URL: quilltest:a \"b\" <中>`id`|\\"));
}

}  // namespace
