// What opening a URL does in a host's process and in the handler's.

#include <sys/syscall.h>

#include <atomic>
#include <thread>

#include "host_fixture.h"

static bool refusesProcesses = false;

/// Replaces the C library's function.
extern "C" [[gnu::visibility("default")]] pid_t _Fork() {
  return refusesProcesses ? -1 : static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
}

namespace quill::tests {

/// The scheme quilltest has a handler, which notes what it gets.
class UrlTest : public HostTest {
 protected:
  void installHandler(const std::string& keys) {
    write("applications/quill.test.Handler.desktop",
          "[Desktop Entry]\nType=Application\nName=Handler\nMimeType=text/plain;\n" + keys);
    write("mimeapps.list",
          "[Default Applications]\nx-scheme-handler/quilltest=quill.test.Handler.desktop\n"
          "x-scheme-handler/quillstuck=quill.test.Stuck.desktop\ntext/plain=quill.test.Handler.desktop\n");
  }
  void write(const fs::path& name, const std::string& text) {
    fs::create_directories((home / name).parent_path());
    std::ofstream(home / name) << text;
  }
  Lines opened(std::size_t count) {
    for (int i = 0; i < 2000 && lines(notes).size() < count; ++i) std::this_thread::sleep_for(5ms);
    return lines(notes);
  }

  const std::string notes = home / "notes";
  // Appends the URL, the blocked signals, whether it leads its session, what descriptor 77 is, and a variable.
  const std::string note =
      R"(/bin/sh -c 'echo "$0" $(grep ^SigBlk /proc/self/status) $(cut -d" " -f6 /proc/$$/stat | grep -cx $$))"
      R"( fd:$(readlink /proc/$$/fd/77) "$QUILL_TEST" >>)" +
      notes + "'";
};

std::atomic<int> childrenEnded = 0;

TEST_F(UrlTest, HandlerGetsTheUrlUnchangedInAProcessOfItsOwn) {
  installHandler("Exec=" + note + " %u\n");
  const std::string legal = "quilltest:a%20b;c?x=$(touch)&y='1'&z=~!*,$HOME#f@[1]";
  std::ofstream(home / "a text") << "text\n";
  const auto local = "file://" + home.string() + "/a%20text";
  std::size_t count = 0;
  const std::string noted = " SigBlk: 0000000000000000 1 fd: then";
  const auto logged = run([&] {
    const auto expectOpened = [&](const std::string& url) {
      setenv("QUILL_TEST", "then", 1);
      quill_tray_manager_open_url(url.c_str());
      setenv("QUILL_TEST", "later", 1);
      EXPECT_EQ(opened(++count).back(), url + noted);
    };
    std::signal(SIGCHLD, [](int) { ++childrenEnded; });
    dup2(STDERR_FILENO, 77);
    // Starts the log's thread. While a thread starts, a cloned process may hang in the thread sanitizer's _exit().
    quill_tray_manager_open_url("");
    expectOpened(legal);
    std::thread(expectOpened, local).join();
    EXPECT_EQ(waitpid(-1, nullptr, 0), -1) << "no child, running or ended";
    EXPECT_EQ(childrenEnded, 0);
    refusesProcesses = true;
    quill_tray_manager_open_url(legal.c_str());
  });
  EXPECT_THAT(logged, Contains("ERROR 打开 URL 失败：无法启动处理程序: " + legal));
}

TEST_F(UrlTest, ApplicationOnTheBusGetsTheUrlOfAProcessThatEnds) {
  installHandler("Exec=false %u\nDBusActivatable=true\n");
  const std::string slow = "/bin/sh -c \"sleep 0.5; exec " URL_HANDLER " '" + notes + "'\"";
  write("dbus-1/services/quill.test.Handler.service", "[D-BUS Service]\nName=quill.test.Handler\nExec=" + slow + "\n");
  bus.start();
  run([] { quill_tray_manager_open_url("quilltest:///right-before-the-exit"); });
  EXPECT_THAT(opened(1), ElementsAre("quilltest:///right-before-the-exit"));
}

TEST_F(UrlTest, ApplicationThatNeverStartsBlocksNoOtherUrl) {
  installHandler("Exec=" + note + " %u\n");
  write("applications/quill.test.Stuck.desktop",
        "[Desktop Entry]\nType=Application\nName=Stuck\nExec=false\nDBusActivatable=true\n");
  write("dbus-1/services/quill.test.Stuck.service",
        "[D-BUS Service]\nName=quill.test.Stuck\nExec=/bin/sh -c \"exec sleep 9 >&- 2>&-\"\n");
  bus.start();
  const auto logged = run([] {
    for (int i = 0; i < 250; ++i) quill_tray_manager_open_url("quillstuck:a");
    quill_tray_manager_open_url("quilltest:b");
    for (int i = 0; i < 50; ++i) quill_tray_manager_open_url("quillstuck:c");
  });
  EXPECT_THAT(opened(1), ElementsAre(HasSubstr("quilltest:b")));
  EXPECT_THAT(std::count(logged.begin(), logged.end(), "ERROR 打开 URL 失败：等待打开的 URL 过多: quillstuck:c"),
              AllOf(Ge(44), Le(45)));
}

}  // namespace quill::tests
