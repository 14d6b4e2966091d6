// What only real processes, files and pipes can show.

#include <fcntl.h>
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

static std::chrono::milliseconds syncTime{0};  // what the disk takes to flush
static std::atomic<int> syncs = 0;

/// Replaces the C library's function.
extern "C" int fsync(int file) {
  std::this_thread::sleep_for(syncTime);
  return ++syncs, static_cast<int>(syscall(SYS_fsync, file));
}

namespace quill::tests {

/// Logs "0", "1" and so on.
void logNumbers(const std::string& module, int count) {
  for (int line = 0; line < count; ++line) logInfo(std::to_string(line), module);
}

int linesAtTheEnd = 0;
/// Runs after the library's own destructor, because destructors with a lower number run later.
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

TEST_F(LoggingHost, BurstFromThreadsOfTwoHostsLosesNothing) {
  constexpr int kLines = 2500;
  run([&] {
    const pid_t other = fork();
    std::vector<std::jthread> threads;
    for (const char* name : {"A", "B", "C", "D"})
      threads.emplace_back(logNumbers, name + std::to_string(other == 0), kLines);
    // A slow machine needs more than the two seconds that there are at exit.
    while (fileSize() < fs::file_size(console) + 31UL * 8 * kLines) std::this_thread::yield();
    EXPECT_TRUE(other == 0 || statusOf(other) == 0);
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
  for (unsigned round = 0; round < 10; ++round) {
    fs::remove(file);
    const auto logUntilKilled = [&] {
      std::thread(logNumbers, "T", 1'000'000).detach();
      while (fileSize() < 4000 + 997 * round) std::this_thread::yield();
      raise(SIGKILL);
    };
    run(logUntilKilled, SIGKILL);
    // Linux ends the write of a killed process between two pages of the file.
    EXPECT_TRUE(contents(file).ends_with('\n') || fileSize() % static_cast<unsigned>(getpagesize()) == 0);
    fs::resize_file(file, contents(file).rfind('\n') + 1);
    EXPECT_GT(countUp(logged())["INFO [T]"], 50);
  }
  const auto page = static_cast<unsigned>(getpagesize());
  for (const auto& [size, start] : {std::pair{page - 1, "["}, {page, "\n["}}) {
    std::ofstream(file) << std::string(size, 'x');
    run([] { logInfo("next", "T"); });
    EXPECT_TRUE(contents(file).substr(size).starts_with(start)) << size;
  }
}

TEST_F(LoggingHost, FaultOfTheDiskIsReportedOnTheConsole) {
  const std::pair<std::function<void()>, std::string> cases[] = {
      {[&] { fs::remove(directory), std::ofstream(directory); }, "无法创建日志目录: Not a directory"},
      {[&] { fs::create_symlink("gone/file", file); }, "无法创建日志文件: No such file or directory"},
      {[&] { mkfifo(file.c_str(), 0666); }, "无法打开日志文件: No such device or address"},
  };
  for (const auto& [fault, report] : cases) {
    fs::create_directories(directory);
    fault();
    run([] { logInfo("one"); });
    EXPECT_THAT(lines(console), ElementsAre("[Native] one", "[CommonLogManager] ❌ " + report));
    fs::remove_all(directory);
  }
}

TEST_F(LoggingHost, FullDiskGetsNoTornLine) {
  run([] {
    const rlimit most{1000, RLIM_INFINITY};  // a write falls short as on such a disk, and raises a signal as well
    setrlimit(RLIMIT_FSIZE, &most);
    for (int line = 0; line < 9; ++line) logInfo(std::string(300, 'x'), "T");
  });
  EXPECT_EQ(logged().size(), 2U);
}

TEST_F(LoggingHost, FullPipeIsWaitedForOnceAndGetsNoTornLine) {
  const std::string message(10'000, 'x');
  run([&] {
    auto readAll = [text = std::ofstream(console), reader = becomePipe()]() mutable {
      for (char byte = 0; read(reader, &byte, 1) == 1;) text << byte;
    };
    const auto before = std::chrono::steady_clock::now();
    for (int line = 0; line < 20; ++line) logInfo(message, "T");
    EXPECT_LT(std::chrono::steady_clock::now() - before, 1s) << "not for each line";
    readAll();
    logInfo("end", "T");
    readAll();
  });
  const auto all = lines(console);
  EXPECT_THAT(all, AllOf(SizeIs(Gt(5U)), Each(AnyOf("[T] " + message, "[T] end"))));
  EXPECT_EQ(all.back(), "[T] end");
  EXPECT_EQ(logged().size(), 21U);
}

TEST_F(LoggingHost, StandardOutputThatIsGoneDoesNoHarm) {
  const std::function<void()> cases[] = {
      [] { close(becomePipe()); },
      [] { close(becomePipe()), fputs("not flushed yet", stdout); },
      [this] {  // the log's file must not get its number
        close(STDOUT_FILENO);
        for (int line = 0; line < 5000 && fileSize() < 40'000; ++line) logInfo(std::to_string(line), "N");
      },
      [] { fclose(stdout); },
  };
  for (const auto& lose : cases) {
    fs::remove(file);
    run([&] {
      logInfo("0", "T");
      lose();
      errno = EXDEV;
      logInfo("1", "T");
      EXPECT_EQ(errno, EXDEV);
    });
    EXPECT_THAT(countUp(logged()), Contains(Pair("INFO [T]", 2)));
  }
}

TEST_F(LoggingHost, LineKeepsItsOrderWithTheHostsPrints) {
  run([] {
    logInfo("1", "T");
    wprintf(L"2\n");  // does nothing after a byte-oriented operation on the stream
    logInfo("3", "T");
  });
  EXPECT_THAT(lines(console), ElementsAre("[T] 1", "2", "[T] 3"));
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
