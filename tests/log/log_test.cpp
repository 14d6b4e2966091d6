#include "log.h"

#include <gmock/gmock.h>

#include <thread>

#include "common_log_manager.h"
#include "log_line.h"
#include "memory_surroundings.h"

namespace {

using namespace std::chrono_literals;
using quill::CommonLogManager;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr auto kTime = std::chrono::local_days(2025y / 3 / 3) + 9h + 5min + 7s + 42ms;
const std::filesystem::path kDirectory = "/home/user/Library/Application Support/com.orvi.tamble/.logs";
const std::filesystem::path kFile = kDirectory / "native.log";

TEST(LogLine, WritesEachFieldAsItIs) {
  struct Case {
    std::chrono::local_time<std::chrono::milliseconds> time;
    std::string level, module, message, file, console;
  };
  const auto midnight = std::chrono::local_days(2024y / 2 / 29);
  const Case cases[] = {
      {kTime, "WARN", "M", "x", "[2025-03-03 09:05:07.042][WARN][M] x\n", "[M] x\n"},
      {kTime, "INFO", "Native", "", "[2025-03-03 09:05:07.042][INFO][Native] \n", "[Native] \n"},
      {kTime, "", "", "", "[2025-03-03 09:05:07.042][][] \n", "[] \n"},
      {kTime, "A]", "[B", " c\r\nd\n", "[2025-03-03 09:05:07.042][A]][[B]  c\r\nd\n\n", "[[B]  c\r\nd\n\n"},
      {midnight, "DEBUG", "托盘", "已创建 ❌", "[2024-02-29 00:00:00.000][DEBUG][托盘] 已创建 ❌\n", "[托盘] 已创建 ❌\n"},
      {midnight - 1ms, "I", "M", std::string("a\0b", 3), std::string("[2024-02-28 23:59:59.999][I][M] a\0b\n", 36),
       std::string("[M] a\0b\n", 8)},
      {std::chrono::local_days(1970y / 1 / 1) - 1ms, "I", "M", "x", "[1969-12-31 23:59:59.999][I][M] x\n", "[M] x\n"},
  };
  for (const auto& each : cases) {
    const quill::LogLine line(each.time, each.level, each.module, each.message);
    EXPECT_EQ(line.forFile(), each.file);
    EXPECT_EQ(line.forConsole(), each.console);
  }
}

class LogManager : public testing::Test {
 protected:
  LogManager() { surroundings.setNow(kTime); }

  quill::memory::Surroundings surroundings;
  std::shared_ptr<CommonLogManager> manager = CommonLogManager::make(surroundings);
};

TEST_F(LogManager, WritesTheConsoleAtOnceAndTheFileFromItsQueue) {
  EXPECT_THAT(surroundings.queueLabels, ElementsAre("com.orvi.tamble.common.log"));
  manager->log("first");
  manager->log("second", "WARN");
  surroundings.setNow(kTime + 1h);  // the time of a line is that of its call
  manager->log("第三\n", "ERROR", "M");
  EXPECT_THAT(surroundings.console(), ElementsAre("[Native] first", "[Native] second", "[M] 第三\n"));
  EXPECT_THAT(surroundings.files, IsEmpty());
  EXPECT_THAT(surroundings.directories, IsEmpty());

  std::weak_ptr<CommonLogManager> kept = manager;
  manager.reset();
  EXPECT_FALSE(kept.expired());  // what waits holds it
  surroundings.runAll();
  EXPECT_TRUE(kept.expired());
  EXPECT_THAT(surroundings.files, ElementsAre(Pair(kFile,
                                                   "[2025-03-03 09:05:07.042][INFO][Native] first\n"
                                                   "[2025-03-03 09:05:07.042][WARN][Native] second\n"
                                                   "[2025-03-03 10:05:07.042][ERROR][M] 第三\n\n")));
}

TEST_F(LogManager, ReportsWhatFailsOnTheConsoleAndTriesAgainWithTheNextLine) {
  const auto denied = std::make_error_code(std::errc::permission_denied);
  struct Case {
    std::function<void()> fault, repair;
    std::vector<std::string> report;
  };
  auto& disk = surroundings;
  const Case cases[] = {
      {[&] { disk.hasUserDirectory = false; }, [&] { disk.hasUserDirectory = true; }, {}},
      {[&] { disk.directoryError = denied; },
       [&] { disk.directoryError.clear(); },
       {"[CommonLogManager] ❌ 无法创建日志目录: Permission denied"}},
      {[&] { disk.files[kDirectory] = "in the way"; },
       [&] { disk.files.clear(); },
       {"[CommonLogManager] ❌ 无法创建日志目录: Not a directory"}},
      {[&] { disk.fileError = denied; },
       [&] { disk.fileError.clear(); },
       {"[CommonLogManager] ❌ 无法创建日志文件: Permission denied"}},
      {[&] { disk.files[kFile] = "", disk.fileError = denied; },
       [&] { disk.fileError.clear(); },
       {"[CommonLogManager] ❌ 无法打开日志文件: Permission denied"}},
      {[&] { disk.directories.insert(kFile); },
       [&] { disk.directories.clear(); },
       {"[CommonLogManager] ❌ 无法打开日志文件: Is a directory"}},
  };
  for (const auto& each : cases) {
    surroundings.clear();
    each.fault();
    std::vector<std::string> expected;
    for (int again = 0; again < 2; ++again) {
      manager->log("lost");
      surroundings.runAll();
      expected.emplace_back("[Native] lost");
      expected.insert(expected.end(), each.report.begin(), each.report.end());
    }
    EXPECT_EQ(surroundings.console(), expected);
    each.repair();
    manager->log("kept");
    EXPECT_THAT(surroundings.logged(), ElementsAre("INFO kept"));
  }
}

TEST_F(LogManager, MakesTheFileAgainAfterItDisappeared) {
  for (const bool alsoDirectory : {false, true}) {
    manager->log("before");
    surroundings.runAll();
    surroundings.files.clear();
    if (alsoDirectory) surroundings.directories.clear();
    manager->log("after");
    surroundings.runAll();
    EXPECT_THAT(surroundings.files, ElementsAre(Pair(kFile, "[2025-03-03 09:05:07.042][INFO][Native] after\n")));
  }
}

TEST_F(LogManager, AsksForTheLocationOnceForEachLineAndOnTheQueue) {
  struct Elsewhere : CommonLogManager {
    explicit Elsewhere(quill::Surroundings& its) : CommonLogManager(its) {}
    std::optional<std::filesystem::path> getLogFileURL(const std::string& home) override {
      homes.push_back(home);
      return location;
    }
    std::vector<std::string> homes;
    std::optional<std::filesystem::path> location;
  };
  const auto elsewhere = std::make_shared<Elsewhere>(surroundings);
  surroundings.directories.insert("/var");
  elsewhere->log("nowhere");
  EXPECT_THAT(elsewhere->homes, IsEmpty());
  surroundings.runAll();
  elsewhere->location = "/var/a";
  elsewhere->log("somewhere");
  surroundings.runAll();
  EXPECT_THAT(elsewhere->homes, ElementsAre("/home/user", "/home/user"));
  EXPECT_THAT(surroundings.files, ElementsAre(Pair("/var/a", "[2025-03-03 09:05:07.042][INFO][Native] somewhere\n")));
}

TEST(Log, GivesEachFunctionItsLevelAndTheDefaultModule) {
  auto& surroundings = quill::memory::Surroundings::current();
  const auto* const shared = &CommonLogManager::shared();
  std::thread([&] { EXPECT_EQ(&CommonLogManager::shared(), shared); }).join();
  quill::logInfo("a");
  quill::logWarning("b");
  quill::logError("c");
  quill::logDebug("d", "M");
  EXPECT_THAT(surroundings.logged(), ElementsAre("INFO a", "WARN b", "ERROR c", "DEBUG d"));
  EXPECT_THAT(surroundings.console(), ElementsAre("[Native] a", "[Native] b", "[Native] c", "[M] d"));
  EXPECT_EQ(shared->use_count(), 1);
}

}  // namespace
