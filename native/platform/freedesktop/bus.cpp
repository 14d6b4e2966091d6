#include "bus.h"

#include <sys/stat.h>
#include <unistd.h>

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
constexpr std::chrono::milliseconds kLongestDelay{30'000};
/// Messages handled before the host's own sources get their turn.
constexpr int kMessagesADispatch = 32;
/// Messages that a bus may leave unread; one that takes no more is given up and connected to anew.
constexpr std::uint64_t kMostUnsentMessages = 1024;

/// A path as the value of an address: other bytes than these stand as %XX.
std::string escapeAddressValue(std::string_view value) {
  constexpr std::string_view kPlain = "-_/.\\*";
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string escaped;
  for (const char c : value) {
    const auto byte = static_cast<unsigned char>(c);
    if (g_ascii_isalnum(c) || kPlain.find(c) != std::string_view::npos) {
      escaped += c;
    } else {
      escaped += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return escaped;
}

/// Those of an address's alternatives that can be connected to without waiting: other transports
/// look up host names or start programs.
std::string localAlternatives(std::string_view address) {
  std::string local;
  while (!address.empty()) {
    const auto end = std::min(address.find(';'), address.size());
    const auto alternative = address.substr(0, end);
    address.remove_prefix(std::min(end + 1, address.size()));
    if (!alternative.starts_with("unix:")) continue;
    if (!local.empty()) local += ';';
    local += alternative;
  }
  return local;
}

}  // namespace

std::optional<std::string> sessionBusAddress() {
  if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address != nullptr && *address != '\0') {
    return address;
  }
  if (const char* directory = std::getenv("XDG_RUNTIME_DIR"); directory != nullptr && *directory == '/') {
    const std::string path = std::string(directory) + "/bus";
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode)) return "unix:path=" + escapeAddressValue(path);
  }
  return std::nullopt;
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

Bus::Bus(GlibMainQueue& queue, const std::string& address, Handlers handlers)
    : queue_(queue),
      address_(localAlternatives(address)),
      handlers_(std::move(handlers)),
      process_(getpid()),
      backoff_(kFirstDelay, kLongestDelay) {}

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

bool Bus::isForked() const { return getpid() != process_; }

bool Bus::isCongested() const {
  std::uint64_t unsent = 0;
  return sd_bus_get_n_queued_write(bus_.get(), &unsent) >= 0 && unsent >= kMostUnsentMessages;
}

void Bus::connect() {
  if (address_.empty() || isForked()) return;
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
  if (result >= 0) {
    handlers_.opened(bus);
    return;
  }
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
  queue_.dispatches()->note();
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
  for (int handled = 0; result > 0 && handled < kMessagesADispatch; ++handled) {
    result = isCongested() ? -ENOBUFS : sd_bus_process(bus_.get(), nullptr);
  }
  isProcessing_ = false;
  if (result < 0) {
    lose();
  } else if (sd_bus_is_ready(bus_.get()) > 0) {
    backoff_.reset();
  }
}

void Bus::lose() {
  watchDescriptor(-1, 0);
  bus_.reset();
  handlers_.lost();
  reconnect_->setDueIn(backoff_.next());
}

}  // namespace quill::freedesktop
