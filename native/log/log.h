#pragma once

#include <string_view>

namespace quill {

// Log a message under the level of the function's name. Any thread. They return before the line is in the
// file, and no failure reaches the caller.

void logInfo(std::string_view message, std::string_view module = "Native");
void logWarning(std::string_view message, std::string_view module = "Native");
void logError(std::string_view message, std::string_view module = "Native");
void logDebug(std::string_view message, std::string_view module = "Native");

}  // namespace quill
