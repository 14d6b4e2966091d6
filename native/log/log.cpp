#include "log.h"

#include <new>
#include <string>

#include "common_log_manager.h"
#include "report.h"

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

void reportError(std::string_view what) { logError("[TrayManager] " + std::string(what), "TrayManager"); }

void reportOutOfMemory() {
  try {
    reportError("内存不足");
  } catch (const std::bad_alloc&) {  // no memory for the line either
  }
}

}  // namespace quill
