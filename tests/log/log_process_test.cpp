// What only real processes, files and pipes can show. Each host is a forked child with a home of its own.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cwchar>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

#include "immortal.h"
#include "log.h"
#include "posix_surroundings.h"
#include "worker_queue.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// A leak checker makes a thread of its own at exit; not where no thread can be made.
static bool skipsLeakCheck = false;
extern "C" {
[[gnu::visibility("default")]] int __lsan_is_turned_off() { return skipsLeakCheck ? 1 : 0; }
[[gnu::visibility("default")]] const char* __tsan_default_options() { return "atexit_sleep_ms=0"; }
}

namespace {

namespace fs = std::filesystem;
using Body = std::function<void()>;
using quill::logInfo;
using testing::ElementsAre;

constexpr uid_t kNobody = 65534;
bool logsAfterEverything = false;

// Later than the library's own: destructors with a lower number run last.
[[gnu::destructor(101)]] void logAfterEverything() {
  if (logsAfterEverything) logInfo("after everything", "T");
}

std::string contents(const fs::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

std::string named(std::string name, int number) { return name.append(std::to_string(number)); }

void becomeNobody() {
  if (getuid() != 0) return;
  ASSERT_EQ(setresuid(kNobody, kNobody, kNobody), 0);
}

// As on a kernel before 6.18.
void forgetPwritev2Flags() {
  sock_filter program[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pwritev2, 0, 1),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
  const sock_fprog filter{4, program};
  ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
}

class LoggingHost : public testing::Test {
 protected:
  LoggingHost() {
    // A disk in memory where there is one: what is tested is not the disk's speed.
    const char* base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    std::string name = std::string(base) + "/quill-log-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category());
    home = name;
    directory = home / "Library/Application Support/com.orvi.tamble/.logs";
    file = directory / "native.log";
    chmod(name.c_str(), 0777);
  }
  ~LoggingHost() override { fs::remove_all(home); }

  pid_t start(const Body& body) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child != 0) return child;
    alarm(30);
    setenv("HOME", home.c_str(), 1);
    if (freopen((home / "console").c_str(), "w", stdout) == nullptr) abort();  // also: no orientation any more
    body();
    exit(HasFailure() ? 1 : 0);
  }
  static int end(pid_t child) {
    int status = -1;
    waitpid(child, &status, 0);
    return status;
  }
  std::string console() const { return contents(home / "console"); }
  void run(const Body& body) { EXPECT_EQ(end(start(body)), 0) << console(); }

  // The file's lines as "module message"; every one must be whole.
  std::vector<std::string> logged() const {
    static const testing::Matcher<std::string> whole = testing::MatchesRegex(
        "\\[[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}\\]\\[INFO\\]\\[[^]]*\\] [^\\[]*");
    std::vector<std::string> lines;
    std::istringstream text(contents(file));
    for (std::string line; std::getline(text, line);) {
      EXPECT_FALSE(text.eof()) << "torn: " << line;
      EXPECT_THAT(line, whole);
      if (!testing::Value(line, whole)) continue;
      const auto module = line.find("][INFO][") + 8;
      lines.push_back(line.substr(module).erase(line.find(']', module) - module, 1));
    }
    return lines;
  }

  // How many lines each module has; each must count up from 0.
  static std::map<std::string, int> countUp(const std::vector<std::string>& lines) {
    std::map<std::string, int> counts;
    for (const auto& line : lines) {
      const auto blank = line.find(' ');
      EXPECT_EQ(line.substr(blank + 1), std::to_string(counts[line.substr(0, blank)]++)) << line;
    }
    return counts;
  }

  fs::path home, directory, file;
};

TEST_F(LoggingHost, LosesNothingOfABurstFromEightThreads) {
  constexpr int kThreads = 8;
  struct Case {
    int lines;
    bool exitsAtOnce;  // there are two seconds for what is left then, also on a slow machine
  };
  for (const auto& each : {Case{2500, false}, Case{100, true}}) {
    fs::remove(file);
    run([&] {
      std::vector<std::thread> threads;
      for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&each, module = named("T", thread)] {
          for (int line = 0; line < each.lines; ++line) logInfo(std::to_string(line), module);
        });
      }
      for (auto& thread : threads) thread.join();
      // The file line is the console line with 31 bytes before it.
      const auto whole = fs::file_size(home / "console") + static_cast<unsigned>(31 * kThreads * each.lines);
      while (!each.exitsAtOnce && (!fs::exists(file) || fs::file_size(file) != whole)) std::this_thread::yield();
    });
    const auto counts = countUp(logged());
    EXPECT_EQ(counts.size(), std::size_t{kThreads});
    for (const auto& [module, count] : counts) EXPECT_EQ(count, each.lines) << module;

    std::istringstream printed(console());
    std::vector<std::string> lines;
    for (std::string line; std::getline(printed, line);) lines.push_back(line.erase(line.find(']'), 1).substr(1));
    EXPECT_EQ(countUp(lines), counts);
  }
}

TEST_F(LoggingHost, KeepsWhatIsLoggedOnTheWayOut) {
  run([] {
    std::atexit([] { logInfo("from an exit handler", "T"); });
    logInfo("before", "T");
    logsAfterEverything = true;
  });
  EXPECT_THAT(logged(), ElementsAre("T before", "T from an exit handler", "T after everything"));
}

TEST_F(LoggingHost, WaitsTwoSecondsForAStuckDiskAndNoLonger) {
  const auto before = std::chrono::steady_clock::now();
  run([] {
    static const quill::Immortal<std::unique_ptr<quill::posix::WorkerQueue>> queue(
        [] { return std::make_unique<quill::posix::WorkerQueue>("stuck", quill::posix::Priority::utility); });
    static std::atomic<bool> stuck{false};
    queue.get()->submit([] {
      stuck = true;
      for (;;) pause();
    });
    while (!stuck) std::this_thread::yield();
    logsAfterEverything = true;  // the two seconds are for all of it
    logInfo("not stuck", "T");
  });
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - before;
  EXPECT_GE(took.count(), 2);
  EXPECT_LT(took.count(), 4);
  EXPECT_THAT(logged(), testing::Contains("T not stuck"));
}

TEST_F(LoggingHost, LeavesWholeLinesWhenKilled) {
  for (int round = 0; round < 10; ++round) {
    const auto module = named("R", round);
    const auto before = fs::exists(file) ? fs::file_size(file) : 0;
    const pid_t child = start([&] {
      for (int line = 0;; ++line) logInfo(std::to_string(line), module);
    });
    std::error_code missing;
    while (fs::file_size(file, missing) + 1 < before + 4000 + 997 * static_cast<unsigned>(round)) {
      ASSERT_EQ(waitpid(child, nullptr, WNOHANG), 0);
      std::this_thread::yield();
    }
    kill(child, SIGKILL);
    end(child);
    EXPECT_GT(countUp(logged())[module], 50);
  }
}

TEST_F(LoggingHost, ForksWhileAnotherThreadLogs) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer's own allocator hangs in such a child";
  constexpr int kChildren = 20;
  run([] {
    std::atomic<bool> stop{false};
    std::thread other([&] {
      for (int line = 0; !stop; ++line) logInfo(std::to_string(line), "parent");
    });
    for (int child = 0; child < kChildren; ++child) {
      const pid_t forked = fork();
      if (forked == 0) {
        alarm(10);
        logInfo("0", named("child", child));
        exit(0);
      }
      EXPECT_EQ(end(forked), 0);
    }
    stop = true;
    other.join();
  });
  auto counts = countUp(logged());
  EXPECT_EQ(counts.size(), std::size_t{kChildren + 1});
  EXPECT_GT(counts["parent"], kChildren);
}

TEST_F(LoggingHost, ReportsEachFaultOfTheDiskAndGoesOnAfterIt) {
  struct Case {
    Body fault, repair;
    std::string report;
  };
  const Case cases[] = {
      {[&] { fs::remove_all(home / "Library"); }, [] {}, ""},
      {[&] { fs::remove(file); }, [] {}, ""},
      {[&] { fs::remove_all(directory), std::ofstream(directory) << "in the way"; }, [&] { fs::remove(directory); },
       "[CommonLogManager] ❌ 无法创建日志目录: Not a directory\n"},
      {[&] { chmod(file.c_str(), 0444); }, [&] { chmod(file.c_str(), 0644); },
       "[CommonLogManager] ❌ 无法打开日志文件: Permission denied\n"},
      {[&] { fs::remove(file), chmod(directory.c_str(), 0555); }, [&] { chmod(directory.c_str(), 0755); },
       "[CommonLogManager] ❌ 无法创建日志文件: Permission denied\n"},
      {[&] { fs::remove(file), mkfifo(file.c_str(), 0), chmod(file.c_str(), 0666); }, [&] { fs::remove(file); },
       "[CommonLogManager] ❌ 无法打开日志文件: No such device or address\n"},
  };
  const auto logsOne = [this](const char* message) { run([=] { becomeNobody(), logInfo(message, "T"); }); };
  logsOne("first");
  for (const auto& each : cases) {
    each.fault();
    logsOne("at fault");
    EXPECT_EQ(console(), "[T] at fault\n" + each.report);
    each.repair();
    logsOne("kept");
    const auto lines = logged();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "T kept");
    EXPECT_EQ(console(), "[T] kept\n");
  }
}

TEST_F(LoggingHost, LeavesNoTornLineOnAFullDisk) {
  const std::string message(300, 'x');
  const auto logsMany = [&] {
    for (int line = 0; line < 300; ++line) logInfo(message, "T");
  };
  run([&] {  // a write may fall short here as well, and raises a signal
    ASSERT_NE(freopen("/dev/null", "w", stdout), nullptr);
    const rlimit most{1000, 1000};
    setrlimit(RLIMIT_FSIZE, &most);
    logsMany();
  });
  EXPECT_EQ(logged().size(), 2U);
  run([] { logInfo("kept", "T"); });
  EXPECT_EQ(logged().size(), 3U);

  fs::remove(file);
  if (mount("tmpfs", directory.c_str(), "tmpfs", 0, "size=64k,mode=777") != 0) {
    GTEST_SKIP() << "no small disk: mounting one takes privileges";
  }
  run(logsMany);
  EXPECT_GT(logged().size(), 100U);
  fs::resize_file(file, 0);
  run([] { logInfo("kept", "T"); });
  EXPECT_THAT(logged(), ElementsAre("T kept"));
  EXPECT_EQ(umount(directory.c_str()), 0);
}

TEST_F(LoggingHost, OutlivesAStandardOutputThatIsGone) {
  const auto closePipe = [] {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[1]);
  };
  const Body cases[] = {
      closePipe,
      [=] { closePipe(), fputs("not flushed yet", stdout); },
      [=] { signal(SIGPIPE, SIG_IGN), closePipe(); },
      [] { close(STDOUT_FILENO); },
      [] { fclose(stdout); },
      [] {  // full, and refuses to wait
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
        while (write(ends[1], "", 1) == 1) {
        }
        dup2(ends[1], STDOUT_FILENO);
      },
  };
  for (const bool oldKernel : {false, true}) {
    std::size_t lines = 0;
    fs::remove(file);
    for (const auto& gone : cases) {
      run([&] {
        if (oldKernel) forgetPwritev2Flags();
        logInfo("before", "T");
        gone();
        errno = EXDEV;
        logInfo("gone", "T");
        EXPECT_EQ(errno, EXDEV);
        sigset_t pending;
        sigpending(&pending);
        EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
      });
      EXPECT_EQ(logged().size(), lines += 2);
    }
  }
}

TEST_F(LoggingHost, KeepsItsOrderWithTheHostsPrintsAndLeavesTheStreamAlone) {
  run([] {
    EXPECT_EQ(fwide(stdout, 0), 0);
    logInfo("1", "T");
    EXPECT_EQ(fwide(stdout, 0), 0);
    printf("2\n");
    logInfo("3", "T");
    printf("4\n");
  });
  EXPECT_EQ(console(), "[T] 1\n2\n[T] 3\n4\n");
  run([] {
    wprintf(L"1\n");
    logInfo("2", "T");
  });
  EXPECT_EQ(console(), "1\n[T] 2\n");
}

TEST_F(LoggingHost, StaysInTheTimeZoneItStartedIn) {
  const auto before = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  run([] {
    setenv("TZ", "Asia/Shanghai", 1);
    logInfo("first", "T");
    setenv("TZ", "America/New_York", 1);
    tzset();
    logInfo("second", "T");
  });
  std::istringstream text(contents(file));
  for (std::string line; std::getline(text, line);) {
    tm parts{};
    ASSERT_NE(strptime(line.c_str(), "[%Y-%m-%d %H:%M:%S", &parts), nullptr);
    const auto shown = std::chrono::sys_seconds(std::chrono::seconds(timegm(&parts))) - std::chrono::hours(8);
    EXPECT_GE(shown, before);
    EXPECT_LE(shown, before + std::chrono::seconds(30));
  }
}

TEST_F(LoggingHost, WorksOnALowlyThreadThatTakesNoSignals) {
  run([] {
    std::atomic<bool> done{false};
    const auto own = getpriority(PRIO_PROCESS, 0);
    quill::posix::WorkerQueue queue("com.orvi.tamble.common.log", quill::posix::Priority::utility);
    queue.submit([&] {
      char name[16];
      pthread_getname_np(pthread_self(), name, sizeof name);
      EXPECT_STREQ(name, "com.orvi.tamble");
      EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(gettid())), std::min(own + 5, 19));
      sigset_t blocked;
      pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
      for (const int signal : {SIGTERM, SIGINT, SIGCHLD, SIGALRM, SIGPIPE, SIGXFSZ, SIGUSR1}) {
        EXPECT_EQ(sigismember(&blocked, signal), 1) << signal;
      }
      done = true;
    });
    while (!done) std::this_thread::yield();
    EXPECT_EQ(getpriority(PRIO_PROCESS, 0), own);
  });
}

TEST_F(LoggingHost, WritesAtExitWhatNoThreadCouldBeMadeFor) {
  run([] {
    becomeNobody();
    const rlimit none{0, 0};
    ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
    EXPECT_THROW(std::thread([] {}).join(), std::system_error);
    skipsLeakCheck = true;
    logInfo("first", "T");
    logInfo("second", "T");
  });
  EXPECT_THAT(logged(), ElementsAre("T first", "T second"));
}

TEST(PosixSurroundings, TakesTheHomeDirectoryFromTheUserDatabaseWhereTheEnvironmentNamesNone) {
  quill::posix::Surroundings surroundings([](auto) { return std::chrono::seconds(0); });
  EXPECT_EQ(surroundings.userDirectory("/some where"), "/some where");
  const auto fromDatabase = surroundings.userDirectory("");
  ASSERT_TRUE(fromDatabase);
  EXPECT_TRUE(fromDatabase->is_absolute());
  EXPECT_EQ(surroundings.userDirectory("not/absolute"), fromDatabase);
}

}  // namespace
