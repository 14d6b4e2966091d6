#include "log.h"
#include "common_log_manager.h"
#include "memory_environment.h"
#include "testing.h"

namespace quill::tests {

constexpr auto kTime = std::chrono::local_days(2025y / 3 / 3) + 9h + 5min + 7s + 42ms;
constexpr auto kEpoch = std::chrono::local_days(1970y / 1 / 1);
const fs::path kFile = "/home/user/Library/Application Support/com.orvi.tamble/.logs/native.log";

class LogManager : public Test {
 protected:
  LogManager() { environment.setNow(kTime); }

  memory::Environment environment;
  std::shared_ptr<CommonLogManager> manager = CommonLogManager::make(environment);
};

TEST_F(LogManager, WritesTheConsoleAtOnceAndTheFileFromItsQueue) {
  EXPECT_THAT(environment.queueLabels, ElementsAre("com.orvi.tamble.common.log"));
  manager->log("first");
  environment.setNow(kEpoch - 1ms);  // the time of a line is that of its call
  manager->log(" 托盘\r\nd\n", "A]", "[B");
  manager->log({"a\0b", 3}, "", "");
  EXPECT_THAT(environment.console(), ElementsAre("[Native] first", "[[B]  托盘\r\nd\n", std::string("[] a\0b", 6)));
  EXPECT_THAT(environment.directories, IsEmpty());

  manager.reset();  // the waiting jobs hold the manager
  environment.runAll();
  EXPECT_EQ(environment.files[kFile],
            "[2025-03-03 09:05:07.042][INFO][Native] first\n[1969-12-31 23:59:59.999][A]][[B]  托盘\r\nd\n\n" +
                std::string("[1969-12-31 23:59:59.999][][] a\0b\n", 34));
}

TEST_F(LogManager, TriesAgainWithTheNextLineAfterAFailure) {
  environment.hasUserDirectory = false;
  EXPECT_THAT((manager->log("one"), environment.logged()), IsEmpty());
  environment.hasUserDirectory = true;
  EXPECT_THAT((manager->log("kept"), environment.logged()), ElementsAre("INFO kept"));
}

TEST(Log, LineNamesItsLevelAndADefaultModule) {
  logInfo("a"), logWarning("b"), logError("c"), logDebug("d");
  auto& environment = memory::Environment::current();
  EXPECT_THAT(environment.logged(), ElementsAre("INFO a", "WARN b", "ERROR c", "DEBUG d"));
  EXPECT_THAT(environment.console(), Each(StartsWith("[Native] ")));
}

}  // namespace quill::tests
