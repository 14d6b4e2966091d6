#include "host_callback.h"

#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <typeinfo>

#include "log.h"
#include "tray_manager.h"
#include "utf8_text.h"

namespace quill {

namespace {

/// The name of a type as in source code.
std::string readableName(const std::type_info& type) {
  const std::unique_ptr<char, decltype(&std::free)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr),
                                                         &std::free);
  return name ? name.get() : "unknown";
}

}  // namespace

void logHostException() {
  std::string fault;
  try {
    throw;
  } catch (const std::exception& thrown) {
    const char* const text = thrown.what();
    fault = text != nullptr ? utf8Text(text) : readableName(typeid(thrown));
  } catch (...) {
    const auto* const type = abi::__cxa_current_exception_type();  // null for another language's exception
    fault = type != nullptr ? utf8Text(readableName(*type).c_str()) : "unknown";
  }
  logError("[TrayManager] 宿主回调抛出异常: " + fault, kLogModule);
}

}  // namespace quill
