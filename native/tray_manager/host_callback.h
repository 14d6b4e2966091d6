#pragma once

#include <cxxabi.h>

namespace quill {

/// Logs the exception that is being handled. In a catch block only.
void logHostException();

/// Calls the host. What it throws ends here, as an error line: the event loop above is C, which an exception would
/// leave in disorder. Main thread.
template <typename... Arguments>
void callHost(void (*callback)(Arguments...), Arguments... arguments) {
  try {
    callback(arguments...);
  } catch (const abi::__forced_unwind&) {
    throw;  // the end of the thread, which has to go on
  } catch (...) {
    logHostException();
  }
}

}  // namespace quill
