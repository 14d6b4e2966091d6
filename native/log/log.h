#pragma once

#include <string_view>

namespace quill {

// Each function logs a message under the level that it is named after. It returns before the line is in the file, and
// reports no failure to the caller. Any thread.

void logInfo(std::string_view message, std::string_view module = "Native");
void logWarning(std::string_view message, std::string_view module = "Native");
void logError(std::string_view message, std::string_view module = "Native");
void logDebug(std::string_view message, std::string_view module = "Native");

}  // namespace quill
