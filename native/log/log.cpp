#include "log.h"

#include "common_log_manager.h"

namespace quill {

namespace {

void log(std::string_view message, std::string_view level, std::string_view module) {
  const auto manager = CommonLogManager::shared();
  manager->log(message, level, module);
}

}  // namespace

void logInfo(std::string_view message, std::string_view module) { log(message, "INFO", module); }
void logWarning(std::string_view message, std::string_view module) { log(message, "WARN", module); }
void logError(std::string_view message, std::string_view module) { log(message, "ERROR", module); }
void logDebug(std::string_view message, std::string_view module) { log(message, "DEBUG", module); }

}  // namespace quill
