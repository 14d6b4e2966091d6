// What only real processes, files and pipes can show.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <atomic>
#include <cwchar>
#include <map>
#include <thread>

#include "forked_host.h"
#include "host_application.h"
#include "log.h"
#include "signal_mask.h"

extern "C" [[gnu::visibility("default")]] const char* __tsan_default_options() { return "atexit_sleep_ms=0"; }

static std::chrono::milliseconds syncTime{0};  // what the disk takes to flush
static std::atomic<int> syncs = 0;
static std::function<void()> afterShortWrite = [] {};

// Replace the C library's functions.
extern "C" int fsync(int file) {
  std::this_thread::sleep_for(syncTime);
  return ++syncs, static_cast<int>(syscall(SYS_fsync, file));
}
extern "C" ssize_t write(int file, const void* bytes, size_t count) {
  const auto written = syscall(SYS_write, file, bytes, count);
  if (file > STDERR_FILENO && written > 0 && static_cast<size_t>(written) < count) afterShortWrite();
  return written;
}

namespace quill::tests {

// Logs "0", "1" and so on.
void logNumbers(const std::string& module, int count) {
  for (int line = 0; line < count; ++line) logInfo(std::to_string(line), module);
}

int linesAtTheEnd = 0;
// Runs after the library's own destructor, because destructors with a lower number run later.
[[gnu::destructor(101)]] void logAtTheEnd() { logNumbers("end", linesAtTheEnd); }

/// Makes standard output a pipe that does not block. Returns the pipe's reading end.
int becomePipe() {
  int ends[2]{};
  EXPECT_EQ(pipe2(ends, O_NONBLOCK), 0);
  dup2(ends[1], STDOUT_FILENO);
  return ends[0];
}

class LoggingHost : public ForkedHost {
 protected:
  /// The number of lines by level and module. The messages of a module must count up from 0.
  static std::map<std::string, int> countUp(const Lines& lines) {
    std::map<std::string, int> counts;
    for (const auto& line : lines) {
      const auto blank = line.rfind(' ');
      EXPECT_EQ(line.substr(blank + 1), std::to_string(counts[line.substr(0, blank)]++)) << line;
    }
    return counts;
  }

  std::uintmax_t fileSize() const { return fs::exists(file) ? fs::file_size(file) : 0; }
};

TEST_F(LoggingHost, BurstFromEightThreadsLosesNothing) {
  const int kLines = isLong ? 12'500 : 2500;
  run([&] {
    std::vector<std::jthread> threads;
    for (char name = 'A'; name < 'I'; ++name) threads.emplace_back(logNumbers, std::string(1, name), kLines);
    // A slow machine needs more than the two seconds that there are at exit.
    while (fileSize() < fs::file_size(console) + 31 * 8 * kLines) std::this_thread::yield();
  });
  for (const auto& all : {logged(), lines(console)}) EXPECT_THAT(countUp(all), AllOf(SizeIs(8), Each(Pair(_, kLines))));
}

TEST_F(LoggingHost, RemovedFileIsMadeAnewAndSynced) {
  run([this] {
    for (int line = 0; const auto& gone : {home / "nothing", file, directory}) {
      fs::remove_all(gone);
      logInfo(std::to_string(line++), "T");
      while (syncs < line) std::this_thread::yield();
      EXPECT_TRUE(fs::exists(file)) << gone;
    }
  });
  EXPECT_THAT(logged(), ElementsAre("INFO [T] 2"));
}

TEST_F(LoggingHost, EndingHostWritesWhatASlowDiskHasNotFlushedYet) {
  const auto log = [] { syncTime = 15ms, logNumbers("T", 1000); };
  run([&] { log(), linesAtTheEnd = 200, std::atexit([] { logInfo("1000", "T"); }); });
  EXPECT_THAT(countUp(logged()), ElementsAre(Pair("INFO [T]", 1001), Pair("INFO [end]", 200)));
  fs::remove(file);
  run([&] { log(), freedesktop::terminateHost(); }, SIGTERM);
  EXPECT_THAT(countUp(logged()), ElementsAre(Pair("INFO [T]", 1000)));
}

TEST_F(LoggingHost, EndingHostWaitsTwoSecondsForAStuckDisk) {
  const auto before = std::chrono::steady_clock::now();
  run([] { syncTime = 1h, linesAtTheEnd = 1, logInfo("0", "T"); });  // the two seconds are for all of it
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - before;
  EXPECT_THAT(took.count(), AllOf(Ge(2), Lt(4)));
}

TEST_F(LoggingHost, KilledHostLeavesWholeLines) {
  for (unsigned round = 0; round < (isLong ? 50U : 10U); ++round) {
    fs::remove(file);
    const auto logUntilKilled = [&] {
      for (int line = 0;; ++line) {
        logInfo(std::to_string(line), "T");
        if (fileSize() > 4000 + 997 * round) raise(SIGKILL);
      }
    };
    run(logUntilKilled, SIGKILL);
    EXPECT_GT(countUp(logged())["INFO [T]"], 50);
  }
}

TEST_F(LoggingHost, FaultOfTheDiskIsReportedOnTheConsole) {
  const std::pair<std::function<void()>, std::string> cases[] = {
      {[&] { fs::remove_all(directory), std::ofstream(directory); }, "无法创建日志目录: Not a directory"},
      {[&] { fs::remove(file), chmod(directory.c_str(), 0555); }, "无法创建日志文件: Permission denied"},
      {[&] { fs::remove(file), mkfifo(file.c_str(), 0), chmod(file.c_str(), 0666); },
       "无法打开日志文件: No such device or address"},
  };
  const auto logOne = [] {
    ASSERT_TRUE(getuid() != 0 || setuid(65534) == 0);  // no file is denied to root
    logInfo("one");
  };
  chmod(home.c_str(), 0777);
  for (const auto& [fault, report] : cases) {
    run(logOne);
    fault();
    run(logOne);
    EXPECT_THAT(lines(console), ElementsAre("[Native] one", "[CommonLogManager] ❌ " + report));
    fs::remove_all(home / "Library");
  }
}

void logOnAFullDisk() {
  const rlimit most{1000, RLIM_INFINITY};  // a write falls short as on such a disk, and raises a signal as well
  setrlimit(RLIMIT_FSIZE, &most);
  for (int line = 0; line < 9; ++line) logInfo(std::string(300, 'x'), "T");
}

TEST_F(LoggingHost, FullDiskGetsNoTornLine) {
  run(logOnAFullDisk);
  EXPECT_EQ(logged().size(), 2U);
}

TEST_F(LoggingHost, ShortWriteCutsOffNoLineOfAnotherHost) {
  afterShortWrite = [this] {
    const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &none);
    const int other = open(file.c_str(), O_WRONLY | O_APPEND);
    EXPECT_NE(flock(other, LOCK_EX | LOCK_NB), 0) << "the lock is held until the line is cut off";
    std::ignore = write(other, "other\n", 6);
  };
  run(logOnAFullDisk);
  EXPECT_THAT(contents(file), HasSubstr("other\n"));
}

TEST_F(LoggingHost, ReaderThatDoesNotReadIsWaitedForOnce) {
  const std::string message(10'000, 'x');
  run([&] {
    std::ofstream text(console);
    const auto readAll = [&, reader = becomePipe()] {
      for (char byte = 0; read(reader, &byte, 1) == 1;) text << byte;
    };
    for (int round = 0; round < 2; ++round) {
      const auto before = std::chrono::steady_clock::now();
      for (int line = 0; line < 20; ++line) logInfo(message, "T");
      EXPECT_LT(std::chrono::steady_clock::now() - before, 1s);
      readAll();
    }
    logInfo("end", "T");
    readAll();
  });
  const auto all = lines(console);
  EXPECT_EQ(all.back(), "[T] end");
  EXPECT_GT(all.size(), 11U);
  EXPECT_EQ(std::count(all.begin(), all.end(), "[T] " + message), std::ssize(all) - 1);
  EXPECT_EQ(logged().size(), 41U);
}

TEST_F(LoggingHost, StandardOutputThatIsGoneHarmsNobody) {
  const auto losePipe = [] { close(becomePipe()); };
  const auto holdBack = [] {
    const auto held = posix::signalSet({SIGPIPE});
    sigprocmask(SIG_BLOCK, &held, nullptr);
  };
  // Each with whether the host's own SIGPIPE is pending afterwards.
  const std::pair<std::function<void()>, bool> cases[] = {
      {losePipe, false},
      {[&] { losePipe(), fputs("not flushed yet", stdout); }, false},
      {[] { becomePipe(), std::ignore = std::system("cat /dev/zero 2>&-"); }, false},  // full
      {[] { close(STDOUT_FILENO), logNumbers("N", 200); }, false},
      {[] { fclose(stdout); }, false},
      {[&] { losePipe(), holdBack(); }, false},
      {[&] { losePipe(), holdBack(), raise(SIGPIPE); }, true},
  };
  for (const auto& [gone, isPending] : cases) {
    fs::remove(file);
    run([&, expected = isPending] {
      logInfo("before", "T");
      gone();
      errno = EXDEV;
      logInfo("gone", "T");
      EXPECT_EQ(errno, EXDEV);
      sigset_t pending;
      sigpending(&pending);
      EXPECT_EQ(sigismember(&pending, SIGPIPE), expected);
    });
    EXPECT_THAT(logged(), AllOf(Contains("INFO [T] before"), Contains("INFO [T] gone")));
  }
}

TEST_F(LoggingHost, LineKeepsItsOrderWithTheHostsPrints) {
  for (const bool wide : {false, true}) {
    run([=] {
      logInfo("1", "T");
      EXPECT_EQ(fwide(stdout, 0), 0);
      wide ? wprintf(L"2\n") : printf("2\n");
      logInfo("3", "T");
    });
    EXPECT_THAT(lines(console), ElementsAre("[T] 1", "2", "[T] 3"));
  }
}

TEST_F(LoggingHost, LineHasTheTimeZoneOfTheStart) {
  const auto before = time(nullptr);
  run([] {
    for (const char* zone : {"Asia/Shanghai", "America/New_York"}) setenv("TZ", zone, 1), tzset(), logInfo(zone, "T");
  });
  EXPECT_EQ(logged().size(), 2U);
  for (const auto& line : lines(file)) {
    tm shown{};
    strptime(line.c_str(), "[%Y-%m-%d %H:%M:%S", &shown);
    EXPECT_NEAR(static_cast<double>(timegm(&shown) - before), 8 * 60 * 60 + 15, 15);
  }
}

}  // namespace quill::tests
