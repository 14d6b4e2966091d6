// What opening a URL does in a host's process and in the handler's.

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <atomic>
#include <thread>

#include "host_fixture.h"

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
  // Appends the URL, blocked and ignored signals, whether it leads its session, what descriptor 77 is, and a variable.
  const std::string note =
      R"(/bin/sh -c 'echo "$0" $(grep ^Sig[BI] /proc/self/status) $(cut -d" " -f6 /proc/$$/stat | grep -cx $$))"
      R"( fd:$(readlink /proc/$$/fd/77) "$QUILL_TEST" >>)" +
      notes + "'";
};

/// Has the kernel refuse a system call with this first argument, for all threads, as some containers and emulators do.
void refuse(std::uint32_t call, std::uint32_t argument) {
  sock_filter code[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 3),
                        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
                        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, argument, 0, 1),
                        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
                        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
  const sock_fprog program{std::size(code), code};
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  ASSERT_EQ(syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &program), 0);
}

std::atomic<int> childrenEnded = 0;

TEST_F(UrlTest, HandlerGetsTheUrlUnchangedAndInheritsLikeAChild) {
  installHandler("Exec=" + note + " %u\n");
  const std::string legal = "quilltest:a%20b;c?x=$(touch)&y='1'&z=~!*,$HOME#f@[1]";
  const fs::path text = home / "a text";
  std::ofstream(text) << "text\n";
  const auto open = [](const std::string& url, const char* value) {
    setenv("QUILL_TEST", value, 1);
    quill_tray_manager_open_url(url.c_str());
    setenv("QUILL_TEST", "later", 1);
  };
  const auto logged = run([&] {
    for (const int ignored : {SIGPIPE, SIGHUP}) std::signal(ignored, SIG_IGN);
    dup2(STDERR_FILENO, 77);
    sigset_t blocked{};
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    setenv("QUILL_TEST", "", 1);
    const pid_t child = fork();
    if (child == 0) close(77), setsid(), _exit(execl("/bin/sh", "sh", "-c", ("exec " + note + " ''").c_str(), nullptr));
    statusOf(child);
    const auto asAChild = lines(notes).front();
    std::signal(SIGCHLD, [](int) { ++childrenEnded; });
    open(legal, "first");
    EXPECT_EQ(opened(2).back(), legal + asAChild + "first");
    std::thread([&] { open("file://" + home.string() + "/a%20text", "second"); }).join();
    EXPECT_EQ(opened(3).back(), "file://" + home.string() + "/a%20text" + asAChild + "second");
    EXPECT_EQ(waitpid(-1, nullptr, 0), -1) << "no child, running or ended";
    EXPECT_EQ(childrenEnded, 0);
    refuse(SYS_close_range, STDERR_FILENO + 1), refuse(SYS_clone, 0);
    open(legal, "third");
    EXPECT_EQ(opened(4).back(), legal + asAChild + "third");
    refuse(SYS_clone, CLONE_CHILD_SETTID | CLONE_CHILD_CLEARTID | SIGCHLD);  // no new process at all
    open(legal, "fourth");
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

long residentPages() {
  long resident = 0;
  std::ifstream("/proc/self/statm") >> resident >> resident;
  return resident;
}

TEST_F(UrlTest, ApplicationThatNeverStartsBlocksNoOtherUrl) {
  installHandler("Exec=" + note + " %u\n");
  write("applications/quill.test.Stuck.desktop",
        "[Desktop Entry]\nType=Application\nName=Stuck\nExec=false\nDBusActivatable=true\n");
  write("dbus-1/services/quill.test.Stuck.service", "[D-BUS Service]\nName=quill.test.Stuck\nExec=/bin/sleep 9\n");
  bus.start();
  const auto logged = run([&] {
    for (const char* name : {"A", "B", "C", "D"}) setenv(name, times(100'000, "x").c_str(), 1);
    const auto before = residentPages();
    for (int i = 0; i < 250; ++i) quill_tray_manager_open_url("quillstuck:a");
    quill_tray_manager_open_url("quilltest:b");
    for (int i = 0; i < 50; ++i) quill_tray_manager_open_url("quillstuck:c");
    EXPECT_LT(residentPages() - before, (64 << 20) / getpagesize()) << "each would hold a copy of the environment";
  });
  EXPECT_THAT(opened(1), ElementsAre(HasSubstr("quilltest:b")));
  EXPECT_THAT(std::count(logged.begin(), logged.end(), "ERROR 打开 URL 失败：等待打开的 URL 过多: quillstuck:c"),
              AllOf(Ge(44), Le(45)));
}

TEST_F(UrlTest, HostOutlivesTheBusAfterAUrl) {
  installHandler("Exec=" + note + " %u\n");
  bus.start();
  run([&] {
    quill_tray_manager_open_url("quilltest:a");
    quill_tray_manager_open_url("nobody-opens:b");
    opened(1);
    for (const auto& thread : fs::directory_iterator("/proc/self/task")) {
      EXPECT_THAT(contents(thread.path() / "comm"), Not(AnyOf("gdbus\n", "dconf worker\n"))) << "GIO's connection";
    }
    bus.kill();
    for (int i = 0; i < 50; ++i) g_main_context_iteration(nullptr, FALSE), std::this_thread::sleep_for(1ms);
  });
}

}  // namespace quill::tests
