#pragma once

#include <new>
#include <string_view>

namespace quill {

// Error lines of the platform, which cannot include the log. The log defines these functions. Any thread.

/// Logs `what` as an error.
void reportError(std::string_view what);
/// Logs that memory ran out, if there is memory for the line.
void reportOutOfMemory();

/// Runs `work` where no caller catches exceptions. Logs an error and returns false if `work` ran out of memory.
template <typename Work>
bool completes(const Work& work) {
  try {
    work();
    return true;
  } catch (const std::bad_alloc&) {
    reportOutOfMemory();
    return false;
  }
}

}  // namespace quill
