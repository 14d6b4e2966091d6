#include "bus.h"

#include <gio/gio.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "host_application.h"

namespace quill::freedesktop {
namespace {

constexpr std::chrono::milliseconds kFirstDelay{100};
constexpr std::chrono::milliseconds kMaxDelay{30'000};
/// How many messages are handled, and how long, before the host's own sources get their turn.
constexpr int kMaxMessages = 32;
constexpr std::chrono::milliseconds kMaxTurn{5};
/// Messages that a bus may leave unread; one that takes no more is given up and connected to anew.
constexpr std::uint64_t kMaxUnsentMessages = 1024;

/// Where $XDG_RUNTIME_DIR has its bus; empty without such a directory.
std::optional<std::string> runtimeBusPath() {
  const char* const directory = std::getenv("XDG_RUNTIME_DIR");
  if (directory == nullptr || *directory != '/') return std::nullopt;
  return std::string(directory) + "/bus";
}

std::string addressOf(const std::string& path) {
  return std::string("unix:path=") + GCharPointer(g_dbus_address_escape_value(path.c_str())).get();
}

/// Empty for a wrong escape. GLib, whose allocator a fork may find locked, is asked only where there is an escape.
std::optional<std::string> unescapedValue(std::string_view value) {
  if (value.find('%') == std::string_view::npos) return std::string(value);
  const GCharPointer text(g_uri_unescape_segment(value.data(), value.data() + value.size(), nullptr));
  return text ? std::optional<std::string>(text.get()) : std::nullopt;
}

/// One alternative of an address as sd-bus takes it; empty for one that it does not take. sd-bus itself tells that only
/// when it connects, and then of all alternatives at once.
std::optional<std::string> usableAlternative(std::string_view alternative) {
  constexpr std::string_view kTransport = "unix:";
  constexpr std::size_t kGuidDigits = 32;
  if (!alternative.starts_with(kTransport)) return std::nullopt;
  int places = 0;
  bool isRuntime = false;
  for (auto rest = alternative.substr(kTransport.size()); !rest.empty();) {
    const auto pair = rest.substr(0, rest.find(','));
    rest.remove_prefix(std::min(pair.size() + 1, rest.size()));
    const auto key = pair.substr(0, pair.find('='));
    const auto value = unescapedValue(pair.substr(std::min(key.size() + 1, pair.size())));
    if (!value || key.size() == pair.size()) return std::nullopt;
    const std::string_view text = *value;
    if (key == "path" || key == "abstract") {
      // A path ends with a NUL in the kernel's structure, an abstract name begins with one besides.
      const auto room = sizeof(sockaddr_un::sun_path) - (key == "path" ? 1 : 2);
      if (text.empty() || text.size() > room) return std::nullopt;
      ++places;
    } else if (key == "runtime") {
      isRuntime = text == "yes";
    } else if (key == "guid") {
      const bool isHex = std::ranges::all_of(text, [](char c) { return g_ascii_isxdigit(c); });
      if (!isHex || text.size() != kGuidDigits) return std::nullopt;
    }
  }
  if (places == 1) return std::string(alternative);
  const auto path = isRuntime && places == 0 ? runtimeBusPath() : std::nullopt;
  return path ? usableAlternative(addressOf(*path)) : std::nullopt;
}

std::optional<std::string> usableAddress(std::string_view address) {
  std::string usable;
  while (!address.empty()) {
    const auto alternative = address.substr(0, address.find(';'));
    address.remove_prefix(std::min(alternative.size() + 1, address.size()));
    const auto taken = usableAlternative(alternative);
    if (!taken) continue;
    if (!usable.empty()) usable += ';';
    usable += *taken;
  }
  return usable.empty() ? std::nullopt : std::optional(usable);
}

}  // namespace

std::optional<std::string> sessionBusAddress() {
  if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address != nullptr && *address != '\0') {
    return usableAddress(address);
  }
  const auto path = runtimeBusPath();
  struct stat status {};
  if (!path || stat(path->c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return std::nullopt;
  return usableAddress(addressOf(*path));
}

struct Bus::Source {
  GSource base;
  Bus* bus;
};

GSourceFuncs Bus::sourceFunctions = {[](GSource* source, int* timeout) -> gboolean {
                                       return reinterpret_cast<Source*>(source)->bus->prepare(*timeout) ? TRUE : FALSE;
                                     },
                                     [](GSource* source) -> gboolean {
                                       return reinterpret_cast<Source*>(source)->bus->isReadyToProcess() ? TRUE : FALSE;
                                     },
                                     [](GSource* source, GSourceFunc, gpointer) -> gboolean {
                                       reinterpret_cast<Source*>(source)->bus->process();
                                       return G_SOURCE_CONTINUE;
                                     },
                                     nullptr,
                                     nullptr,
                                     nullptr};

Bus::Bus(GlibMainQueue& queue, std::string address, Handlers handlers)
    : queue_(queue), address_(std::move(address)), handlers_(std::move(handlers)), backoff_(kFirstDelay, kMaxDelay) {}

Bus::~Bus() = default;

void Bus::start() {
  source_.reset(g_source_new(&sourceFunctions, sizeof(Source)));
  reinterpret_cast<Source*>(source_.get())->bus = this;
  // Others are taken out of the poll while they are dispatched, which wakes the main context twice for each message.
  g_source_set_can_recurse(source_.get(), TRUE);
  g_source_attach(source_.get(), nullptr);
  reconnect_.emplace(queue_, [this] { connect(); });
  connect();
}

bool Bus::isForked() const { return !owner_.isCurrent(); }

bool Bus::isCongested() const {
  std::uint64_t unsent = 0;
  return sd_bus_get_n_queued_write(bus_.get(), &unsent) >= 0 && unsent >= kMaxUnsentMessages;
}

void Bus::connect() {
  if (isForked()) return;
  if (isSandboxed()) {
    handshake_.emplace(address_);
    if (handshake_->isConnected()) return;
    handshake_.reset();
  }
  open();
}

void Bus::open() {
  sd_bus* bus = nullptr;
  int result = sd_bus_new(&bus);
  bus_.reset(bus);
  if (result >= 0 && !handshake_) result = sd_bus_set_address(bus, address_.c_str());
  if (result >= 0) result = sd_bus_set_bus_client(bus, 1);
  // Every method here is for everyone on the bus; without this sd-bus would ask who the caller is, and wait.
  if (result >= 0) result = sd_bus_set_trusted(bus, 1);
  // A socket that is not there yet is waited for by inotify.
  if (result >= 0) result = sd_bus_set_watch_bind(bus, 1);
  if (result >= 0) result = handshake_ ? handshake_->start(bus) : sd_bus_start(bus);
  if (result >= 0) return;
  bus_.reset();
  if (result != -EINVAL) reconnect_->setDueIn(backoff_.next());  // a malformed address stays malformed
}

sd_bus* Bus::forSignals() {
  if (!bus_ || isForked() || sd_bus_is_ready(bus_.get()) <= 0) return nullptr;
  if (!isCongested()) return bus_.get();
  sd_bus_close(bus_.get());  // the source sees that next, outside of whatever is being handled now
  return nullptr;
}

bool Bus::prepare(int& timeoutMilliseconds) {
  timeoutMilliseconds = -1;
  due_.reset();
  if (handshake_ && !isForked()) {
    watchDescriptor(handshake_->descriptor(), G_IO_IN);
    return false;
  }
  if (!bus_ || isForked() || isProcessing_) {
    watchDescriptor(-1, 0);
    return false;
  }
  const int descriptor = sd_bus_get_fd(bus_.get());
  const int events = sd_bus_get_events(bus_.get());
  std::uint64_t due = UINT64_MAX;
  if (descriptor < 0 || events < 0 || sd_bus_get_timeout(bus_.get(), &due) < 0) {
    watchDescriptor(-1, 0);
    due_ = std::chrono::nanoseconds::zero();  // closed: process() finds out why
    return true;
  }
  watchDescriptor(descriptor, events);
  if (due == UINT64_MAX) return false;
  due_ = std::chrono::microseconds(due);
  const auto left = *due_ - monotonicNow();
  if (left <= left.zero()) return true;
  const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left).count();
  timeoutMilliseconds = static_cast<int>(std::min<std::int64_t>(milliseconds, INT32_MAX));
  return false;
}

void Bus::watchDescriptor(int descriptor, int events) {
  if (descriptor == descriptor_ && events == events_) return;
  const auto condition = static_cast<GIOCondition>(events);
  if (descriptor == descriptor_) {
    g_source_modify_unix_fd(source_.get(), watch_, condition);
  } else {
    if (watch_ != nullptr) g_source_remove_unix_fd(source_.get(), std::exchange(watch_, nullptr));
    if (descriptor >= 0) watch_ = g_source_add_unix_fd(source_.get(), descriptor, condition);
    descriptor_ = descriptor;
  }
  events_ = events;
}

bool Bus::isReadyToProcess() const {
  return (watch_ != nullptr && g_source_query_unix_fd(source_.get(), watch_) != 0) || (due_ && *due_ <= monotonicNow());
}

void Bus::process() {
  queue_.mainThread()->note();
  int result = 1;
  if (handshake_) {
    result = handshake_->advance();
    if (result == 0) return;
    watchDescriptor(-1, 0);
    if (result > 0) open();
    handshake_.reset();
    if (result < 0) reconnect_->setDueIn(backoff_.next());
    return;
  }
  isProcessing_ = true;
  const auto end = monotonicNow() + kMaxTurn;
  for (int handled = 0; result > 0 && handled < kMaxMessages && monotonicNow() < end; ++handled) {
    result = isCongested() ? -ENOBUFS : sd_bus_process(bus_.get(), nullptr);
  }
  isProcessing_ = false;
  if (result < 0) {
    lose();
  } else if (!isThrough_ && sd_bus_is_ready(bus_.get()) > 0) {
    isThrough_ = true;
    backoff_.reset();
    handlers_.opened(bus_.get());
  }
}

void Bus::lose() {
  watchDescriptor(-1, 0);
  bus_.reset();
  if (std::exchange(isThrough_, false)) handlers_.lost();
  reconnect_->setDueIn(backoff_.next());
}

}  // namespace quill::freedesktop
