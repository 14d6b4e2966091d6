#pragma once

#include <string_view>

namespace quill {

// Each hands its message to the process's log under its own level. Any thread; returns before the
// line is in the file; nothing that fails reaches the caller.

void logInfo(std::string_view message, std::string_view module = "Native");
void logWarning(std::string_view message, std::string_view module = "Native");
void logError(std::string_view message, std::string_view module = "Native");
void logDebug(std::string_view message, std::string_view module = "Native");

}  // namespace quill
