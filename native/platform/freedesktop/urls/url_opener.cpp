#include "url_opener.h"

#include <fcntl.h>
#include <glib.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "bus_handshake.h"
#include "detached_program.h"
#include "file_descriptor.h"
#include "glib_handles.h"
#include "sandbox.h"
#include "sd_bus_handles.h"
#include "session_bus_address.h"
#include "url_handler.h"

namespace quill::freedesktop {
namespace {

constexpr std::chrono::seconds kTimeout{25};  // the same as sd-bus's own for a call

/// What is taken from the thread that asks for a URL.
struct Asker {
  Inheritance inheritance;
  std::optional<std::string> busAddress;
  bool isSandboxed;
};

/// A connection for one URL, which waits for answers; null where there is no bus.
BusHandle connectToBus(const Asker& asker) {
  sd_bus* bus = nullptr;
  if (!asker.busAddress || sd_bus_new(&bus) < 0) return nullptr;
  BusHandle connection(bus);
  int result = sd_bus_set_bus_client(bus, 1);
  if (asker.isSandboxed) {
    BusHandshake handshake(*asker.busAddress);
    if (handshake.isConnected()) result = handshake.finish(kTimeout);
    if (result > 0) return handshake.start(bus) >= 0 ? std::move(connection) : nullptr;
  }
  if (result >= 0) result = sd_bus_set_address(bus, asker.busAddress->c_str());
  if (result >= 0) result = sd_bus_start(bus);
  return result >= 0 ? std::move(connection) : nullptr;
}

MessageHandle methodCall(sd_bus* bus, const std::string& name, const std::string& path, const char* interface,
                         const char* method) {
  sd_bus_message* call = nullptr;
  sd_bus_message_new_method_call(bus, &call, name.c_str(), path.c_str(), interface, method);
  return MessageHandle(call);
}

/// True once the URL is sure to reach the application. Its answer may take a while and is not waited for.
bool openOverBus(sd_bus* bus, const std::string& name, const Url& url) {
  const auto askBus = [bus](const char* method, const char* types, auto... arguments) {
    return sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
                              nullptr, nullptr, types, arguments...) >= 0;
  };
  // The bus drops a message that waits for a program's start when the sender goes, so the program must run first.
  if (!askBus("GetNameOwner", "s", name.c_str()) && !askBus("StartServiceByName", "su", name.c_str(), 0)) return false;
  auto path = "/" + name;
  std::replace(path.begin(), path.end(), '.', '/');
  std::replace(path.begin(), path.end(), '-', '_');
  const auto call = methodCall(bus, name, path, "org.freedesktop.Application", "Open");
  return call && sd_bus_message_append(call.get(), "asa{sv}", 1, url.text.c_str(), 0) >= 0 &&
         sd_bus_message_set_expect_reply(call.get(), 0) >= 0 && sd_bus_send(bus, call.get(), nullptr) >= 0 &&
         askBus("GetId", "");  // answered in order, so the URL was passed on
}

/// Asks the portal, outside of the sandbox, where the user's handlers are.
bool openByPortal(sd_bus* bus, const Url& url) {
  const auto path = localPath(url);
  const auto call = methodCall(bus, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                               "org.freedesktop.portal.OpenURI", path.empty() ? "OpenURI" : "OpenFile");
  if (!call) return false;
  if (path.empty()) {
    if (sd_bus_message_append(call.get(), "ssa{sv}", "", url.text.c_str(), 0) < 0) return false;
  } else {
    const auto file = posix::openFile(AT_FDCWD, path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK, 0);
    if (!file.isOpen() || sd_bus_message_append(call.get(), "sha{sv}", "", file.number(), 0) < 0) return false;
  }
  return sd_bus_call(bus, call.get(), 0, nullptr, nullptr) >= 0;
}

void openUrl(const Url& url, const Asker& asker) {
  if (!GCharPointer(g_uri_parse_scheme(url.text.c_str()))) return;  // a relative reference
  if (asker.isSandboxed) {
    const auto bus = connectToBus(asker);
    if (bus && openByPortal(bus.get(), url)) return;
  }
  auto handler = findUrlHandler(url);
  if (handler && !handler->busName.empty()) {
    const auto bus = connectToBus(asker);
    if (bus && openOverBus(bus.get(), handler->busName, url)) return;
  }
  // The rest (a place that GVfs knows, a program in a terminal) is left to GIO's own program.
  const Program program = handler && !handler->program.arguments.empty() ? std::move(handler->program)
                                                                         : Program{{"gio", "open", url.text}, "", true};
  startDetached(program, asker.inheritance);
}

}  // namespace

void UrlOpener::open(Url url) {
  queue_.submit([url = std::move(url), asker = Asker{Inheritance::now(), sessionBusAddress(), isSandboxed()}] {
    openUrl(url, asker);
  });
}

}  // namespace quill::freedesktop
