#pragma once

#include <cxxabi.h>

#include <exception>
#include <string>
#include <typeinfo>

#include "log.h"
#include "tray_manager.h"

namespace quill {

/// Calls the host. What it throws ends here, as an error line: the event loop above is C, which an exception would
/// leave in disorder. Main thread.
template <typename... Arguments>
void callHost(void (*callback)(Arguments...), Arguments... arguments) {
  std::string fault;
  try {
    return callback(arguments...);
#ifdef __GLIBCXX__
  } catch (const abi::__forced_unwind&) {
    throw;  // the end of the thread, which has to go on
#endif
  } catch (const std::exception& thrown) {
    fault = thrown.what();
  } catch (...) {
    const auto* const type = abi::__cxa_current_exception_type();  // null: of another language
    fault = type != nullptr ? type->name() : "?";
  }
  logError("[TrayManager] 宿主回调抛出异常: " + fault, kLogModule);
}

}  // namespace quill
