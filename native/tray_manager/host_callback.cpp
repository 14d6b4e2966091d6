#include "host_callback.h"

#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <typeinfo>

#include "log.h"
#include "text.h"
#include "tray_manager.h"

namespace quill {

namespace {

/// The name of a type as in source code.
std::string readableName(const std::type_info& type) {
  const std::unique_ptr<char, decltype(&std::free)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr),
                                                         &std::free);
  return name ? utf8Text(name.get()) : "unknown";
}

}  // namespace

void callHost(const std::function<void()>& callback) {
  std::string fault;
  try {
    return callback();
#ifdef __GLIBCXX__
  } catch (const abi::__forced_unwind&) {
    throw;  // the thread is being ended, which must not be stopped
#endif
  } catch (const std::exception& thrown) {
    const char* const text = thrown.what();
    fault = text ? utf8Text(text) : readableName(typeid(thrown));
  } catch (...) {
    const auto* const type = abi::__cxa_current_exception_type();  // null for another language's exception
    fault = type ? readableName(*type) : "unknown";
  }
  logError("[TrayManager] 宿主回调抛出异常: " + fault, kLogModule);
}

}  // namespace quill
