#include "log.h"
#include "common_log_manager.h"
#include "log_line.h"
#include "memory_environment.h"
#include "testing.h"

namespace quill {
namespace {

constexpr auto kTime = std::chrono::local_days(2025y / 3 / 3) + 9h + 5min + 7s + 42ms;
constexpr auto kLeapDay = std::chrono::local_days(2024y / 2 / 29), kEpoch = std::chrono::local_days(1970y / 1 / 1);
const fs::path kFile = "/home/user/Library/Application Support/com.orvi.tamble/.logs/native.log";

TEST(LogLine, WritesEachFieldAsItIs) {
  const std::pair<LogLine, std::string> cases[] = {
      {{kTime, "", "", ""}, "[2025-03-03 09:05:07.042][][] \n"},
      {{kTime, "A]", "[B", " c\r\nd\n"}, "[2025-03-03 09:05:07.042][A]][[B]  c\r\nd\n\n"},
      {{kLeapDay, "DEBUG", "托盘", "已创建 ❌"}, "[2024-02-29 00:00:00.000][DEBUG][托盘] 已创建 ❌\n"},
      {{kEpoch - 1ms, "I", "M", {"a\0b", 3}}, {"[1969-12-31 23:59:59.999][I][M] a\0b\n", 36}},
  };
  for (const auto& [line, text] : cases) {
    EXPECT_EQ(line.forFile(), text);
    EXPECT_EQ(line.forConsole(), text.substr(text.find('[', sizeof "[yyyy-MM-dd HH:mm:ss.SSS]")));
  }
}

class LogManager : public Test {
 protected:
  LogManager() { environment.setNow(kTime); }

  memory::Environment environment;
  std::shared_ptr<CommonLogManager> manager = CommonLogManager::make(environment);
};

TEST_F(LogManager, WritesTheConsoleAtOnceAndTheFileFromItsQueue) {
  EXPECT_THAT(environment.queueLabels, ElementsAre("com.orvi.tamble.common.log"));
  manager->log("first");
  environment.setNow(kTime + 1h);  // the time of a line is that of its call
  manager->log("第二\n", "ERROR", "M");
  EXPECT_THAT(environment.console(), ElementsAre("[Native] first", "[M] 第二\n"));
  EXPECT_THAT(environment.directories, IsEmpty());

  manager.reset();  // what waits holds it
  environment.runAll();
  EXPECT_EQ(environment.files[kFile],
            "[2025-03-03 09:05:07.042][INFO][Native] first\n[2025-03-03 10:05:07.042][ERROR][M] 第二\n\n");
}

TEST_F(LogManager, FlushesEachLineButWhileItIsWaitedForOnceForAll) {
  for (const auto& [isEnding, flushes] : {std::pair{false, 3}, {true, 1}}) {
    environment.flushes = 0;
    environment.isEnding = isEnding;
    for (int line = 0; line < 3; ++line) manager->log("");
    environment.runAll();
    EXPECT_EQ(environment.flushes, flushes);
  }
}

TEST_F(LogManager, TriesAgainWithTheNextLineAfterAFailure) {
  environment.hasUserDirectory = false;
  EXPECT_THAT((manager->log("one"), environment.logged()), IsEmpty());
  environment.hasUserDirectory = true;
  EXPECT_THAT((manager->log("kept"), environment.logged()), ElementsAre("INFO kept"));
}

TEST(Log, NamesItsLevelAndWhereNobodyDoesItsModule) {
  logInfo("a"), logWarning("b"), logError("c"), logDebug("d");
  auto& environment = memory::Environment::current();
  EXPECT_THAT(environment.logged(), ElementsAre("INFO a", "WARN b", "ERROR c", "DEBUG d"));
  EXPECT_THAT(environment.console(), Each(StartsWith("[Native] ")));
}

}  // namespace
}  // namespace quill
