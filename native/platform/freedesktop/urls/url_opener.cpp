#include "url_opener.h"

#include <fcntl.h>
#include <glib.h>

#include <algorithm>
#include <chrono>
#include <initializer_list>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "activation_token.h"
#include "bus_handshake.h"
#include "detached_program.h"
#include "file_descriptor.h"
#include "glib_handles.h"
#include "report.h"
#include "sandbox.h"
#include "sd_bus_handles.h"
#include "session_bus_address.h"
#include "spare_resources.h"
#include "url_handler.h"

namespace quill::freedesktop {

/// The context of the thread that opens a URL.
struct CallerContext {
  ProcessAttributes attributes;
  std::optional<std::string> busAddress;
  bool isSandboxed = false;
  ActivationToken token;  // of the event that the thread handles
};

namespace {

constexpr std::chrono::seconds kTimeout{25};  // the same as sd-bus's own for a call

/// The environment of a program that may raise its window with `token`.
std::shared_ptr<const Variables> withToken(Variables variables, const ActivationToken& token) {
  for (const std::string name : {"XDG_ACTIVATION_TOKEN=", "DESKTOP_STARTUP_ID="}) {
    std::erase_if(variables, [&](const std::string& variable) { return variable.starts_with(name); });
    variables.push_back(name + token.text());
  }
  return std::make_shared<const Variables>(std::move(variables));
}

/// Appends a dictionary with `token` under each of the keys, or an empty one without a token.
int appendToken(sd_bus_message* call, const ActivationToken& token, std::initializer_list<const char*> keys) {
  int result = sd_bus_message_open_container(call, 'a', "{sv}");
  for (const auto* const key : keys) {
    if (result >= 0 && !token.isEmpty()) result = sd_bus_message_append(call, "{sv}", key, "s", token.text().c_str());
  }
  return result >= 0 ? sd_bus_message_close_container(call) : result;
}

/// Returns a blocking connection for one URL, or null if there is no bus.
BusHandle connectToBus(const CallerContext& caller) {
  sd_bus* bus = nullptr;
  if (!caller.busAddress || sd_bus_new(&bus) < 0) return nullptr;
  BusHandle connection(bus);
  int result = sd_bus_set_bus_client(bus, 1);
  if (caller.isSandboxed) {
    BusHandshake handshake(*caller.busAddress);
    if (handshake.isConnected()) result = handshake.finish(kTimeout);
    if (result > 0) return handshake.start(bus) >= 0 ? std::move(connection) : nullptr;
  }
  if (result >= 0) result = sd_bus_set_address(bus, caller.busAddress->c_str());
  if (result >= 0) result = sd_bus_start(bus);
  return result >= 0 ? std::move(connection) : nullptr;
}

MessageHandle methodCall(sd_bus* bus, const std::string& name, const std::string& path, const char* interface,
                         const char* method) {
  sd_bus_message* call = nullptr;
  sd_bus_message_new_method_call(bus, &call, name.c_str(), path.c_str(), interface, method);
  return MessageHandle(call);
}

/// Returns true if the URL is sure to reach the application. Does not wait for the application's reply.
bool openOverBus(sd_bus* bus, const std::string& name, const Url& url, const ActivationToken& token) {
  const auto askBus = [bus](const char* method, const char* types, auto... arguments) {
    return sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
                              nullptr, nullptr, types, arguments...) >= 0;
  };
  // The bus drops a message that waits for a program's start if the sender disconnects. Therefore start the program
  // first.
  if (!askBus("GetNameOwner", "s", name.c_str()) && !askBus("StartServiceByName", "su", name.c_str(), 0)) return false;
  auto path = "/" + name;
  std::replace(path.begin(), path.end(), '.', '/');
  std::replace(path.begin(), path.end(), '-', '_');
  const auto call = methodCall(bus, name, path, "org.freedesktop.Application", "Open");
  return call && sd_bus_message_append(call.get(), "as", 1, url.text.c_str()) >= 0 &&
         appendToken(call.get(), token, {"activation-token", "desktop-startup-id"}) >= 0 &&
         sd_bus_message_set_expect_reply(call.get(), 0) >= 0 && sd_bus_send(bus, call.get(), nullptr) >= 0 &&
         askBus("GetId", "");  // answered in order, so the URL was passed on
}

/// Asks the portal, outside of the sandbox, where the user's handlers are.
bool openByPortal(sd_bus* bus, const Url& url, const ActivationToken& token) {
  const auto path = localPath(url);
  const auto call = methodCall(bus, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                               "org.freedesktop.portal.OpenURI", path.empty() ? "OpenURI" : "OpenFile");
  if (!call) return false;
  if (path.empty()) {
    if (sd_bus_message_append(call.get(), "ss", "", url.text.c_str()) < 0) return false;
  } else {
    const auto file = posix::openFile(AT_FDCWD, path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK, 0);
    if (!file.isOpen() || sd_bus_message_append(call.get(), "sh", "", file.number()) < 0) return false;
  }
  return appendToken(call.get(), token, {"activation_token"}) >= 0 &&
         sd_bus_call(bus, call.get(), 0, nullptr, nullptr) >= 0;
}

}  // namespace

/// A URL that waits to be opened.
struct UrlOpener::Request {
  Url url;
  CallerContext caller;
  std::shared_ptr<Requests> all;
};

/// The state that an opener's requests share. The jobs hold it, because they may outlive the opener.
class UrlOpener::Requests : public std::enable_shared_from_this<Requests> {
 public:
  /// Null if too many wait. Any thread.
  std::shared_ptr<Request> make(const Url& url) {
    const std::lock_guard lock(mutex_);
    if (static_cast<std::size_t>(weak_from_this().use_count()) > kMaxWaiting) return nullptr;  // one is the opener's
    auto attributes = ProcessAttributes::now(latest_.lock());
    latest_ = attributes.environment;
    auto token = ActivationToken::current();
    if (!token.isEmpty()) attributes.environment = withToken(*attributes.environment, token);
    return std::make_shared<Request>(Request{
        url, {std::move(attributes), sessionBusAddress(), isSandboxed(), std::move(token)}, shared_from_this()});
  }

  /// On the opener's thread.
  void handle(const std::shared_ptr<Request>& request) {
    const auto& [url, caller, _] = *request;
    if (!GCharPointer(g_uri_parse_scheme(url.text.c_str()))) return;  // a relative reference
    if (caller.isSandboxed) {
      const auto bus = connectToBus(caller);
      if (bus && openByPortal(bus.get(), url, caller.token)) return;
    }
    // GLib starts a thread at the first look for a handler.
    if (!isGlibReady_ && !(hasSpareDescriptors() && hasSpareThread())) {
      return reportError("打开 URL 失败：没有可用的线程或文件描述符: " + url.text);
    }
    isGlibReady_ = true;
    const auto handler = findUrlHandler(url);
    // The rest (a place that GVfs knows, a program in a terminal) is left to GIO's own program.
    auto program = handler && !handler->program.arguments.empty() ? handler->program
                                                                  : Program{{"gio", "open", url.text}, "", true};
    if (!handler || handler->busName.empty()) return start(program, *request);
    const auto queue = queueOf(handler->busName);
    queue->submit([queue, request, program = std::move(program), name = handler->busName] {
      completes([&] {
        const auto bus = connectToBus(request->caller);
        if (!bus || !openOverBus(bus.get(), name, request->url, request->caller.token)) start(program, *request);
      });
    });
  }

 private:
  static void start(const Program& program, const Request& request) {
    if (!startDetached(program, request.caller.attributes)) {
      reportError("打开 URL 失败：无法启动处理程序: " + request.url.text);
    }
  }

  /// Only its jobs keep it, so its thread ends when the application has all its URLs.
  std::shared_ptr<posix::ProcessQueue> queueOf(const std::string& application) {
    auto& known = queues_[application];
    auto queue = known.lock();
    if (!queue) queue = std::make_shared<posix::ProcessQueue>("open-url", posix::Priority::ordinary);
    known = queue;
    return queue;
  }

  bool isGlibReady_ = false;
  std::mutex mutex_;                       // guards the next one
  std::weak_ptr<const Variables> latest_;  // one copy for all requests while the environment stays the same
  std::map<std::string, std::weak_ptr<posix::ProcessQueue>> queues_;  // by the application's name on the bus
};

UrlOpener::UrlOpener() : requests_(std::make_shared<Requests>()) {}

void UrlOpener::open(const Url& url) {
  const auto request = requests_->make(url);
  if (!request) return reportError("打开 URL 失败：等待打开的 URL 过多: " + url.text);
  queue_.submit([request] { completes([&] { request->all->handle(request); }); });
}

}  // namespace quill::freedesktop
