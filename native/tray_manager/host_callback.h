#pragma once

#include <cxxabi.h>

namespace quill {

/// Logs the exception that is being handled. To be called in a catch block.
void logHostException();

/// Calls the host and logs what it throws, as the C event loop that called us cannot handle exceptions. Main thread.
template <typename... Arguments>
void callHost(void (*callback)(Arguments...), Arguments... arguments) {
  try {
    callback(arguments...);
  } catch (const abi::__forced_unwind&) {
    throw;  // the thread is being ended, which must not be stopped
  } catch (...) {
    logHostException();
  }
}

}  // namespace quill
