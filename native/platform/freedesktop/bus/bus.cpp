#include "bus.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

#include "forked_child.h"
#include "report.h"
#include "sandbox.h"

namespace quill::freedesktop {
namespace {

constexpr std::chrono::milliseconds kFirstDelay{100};
constexpr std::chrono::milliseconds kMaxDelay{30'000};
/// A connection that ends earlier does not reset the delays, because a bus may accept and close every connection.
constexpr std::chrono::milliseconds kLasting{100};
/// What one dispatch may handle, and how long it may take, before the host's own sources get their turn.
constexpr int kMaxMessages = 32;
constexpr std::chrono::milliseconds kMaxTurn{5};
/// The limit for messages that the bus leaves unread. Beyond it the connection is closed and made again.
constexpr std::uint64_t kMaxUnsentMessages = 1024;

}  // namespace

struct Bus::Source {
  GSource base;
  Bus* bus;
};

GSourceFuncs Bus::sourceFunctions = {[](GSource* source, int*) -> gboolean {
                                       reinterpret_cast<Source*>(source)->bus->prepare();
                                       return FALSE;  // GLib looks at the descriptor and the ready time
                                     },
                                     nullptr,
                                     [](GSource* source, GSourceFunc, gpointer) -> gboolean {
                                       auto& bus = *reinterpret_cast<Source*>(source)->bus;
                                       completes([&bus] { bus.process(); });
                                       return G_SOURCE_CONTINUE;
                                     },
                                     nullptr,
                                     nullptr,
                                     nullptr};

Bus::Bus(GlibMainQueue& queue, std::string address, Handlers handlers)
    : queue_(queue), address_(std::move(address)), handlers_(std::move(handlers)), backoff_(kFirstDelay, kMaxDelay) {}

void Bus::start() {
  source_.reset(g_source_new(&sourceFunctions, sizeof(Source)));
  reinterpret_cast<Source*>(source_.get())->bus = this;
  // GLib removes the descriptor of a source that cannot recurse from the poll during each dispatch. The removal wakes
  // the main context twice for each message.
  g_source_set_can_recurse(source_.get(), TRUE);
  g_source_attach(source_.get(), nullptr);
  reconnect_.emplace(queue_, [this] { connect(); });
  connect();
}

bool Bus::isCongested() const {
  std::uint64_t unsent = 0;
  return sd_bus_get_n_queued_write(bus_.get(), &unsent) >= 0 && unsent >= kMaxUnsentMessages;
}

void Bus::connect() {
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
  // Everyone on the bus may call every method here. Without this, sd-bus would ask who the caller is, and wait.
  if (result >= 0) result = sd_bus_set_trusted(bus, 1);
  // A socket that is not there yet is waited for by inotify.
  if (result >= 0) result = sd_bus_set_watch_bind(bus, 1);
  if (result >= 0) result = handshake_ ? handshake_->start(bus) : sd_bus_start(bus);
  if (result >= 0) return;
  bus_.reset();
  if (result != -EINVAL) reconnect_->setDueIn(backoff_.next());  // a malformed address stays malformed
}

sd_bus* Bus::connection() {
  if (!bus_ || sd_bus_is_ready(bus_.get()) <= 0) return nullptr;
  if (!isCongested()) return bus_.get();
  sd_bus_close(bus_.get());  // process() sees that next, outside of what is handled now
  return nullptr;
}

void Bus::prepare() {
  if (isForkedChild()) return wait(-1, 0);
  if (handshake_) return wait(handshake_->descriptor(), G_IO_IN);
  if (!bus_ || isProcessing_) return wait(-1, 0);
  const int descriptor = sd_bus_get_fd(bus_.get());
  const int events = sd_bus_get_events(bus_.get());
  std::uint64_t due = UINT64_MAX;
  if (descriptor < 0 || events < 0 || sd_bus_get_timeout(bus_.get(), &due) < 0) {
    return wait(-1, 0, 0);  // closed: process() finds out why
  }
  wait(descriptor, events, due == UINT64_MAX ? kNever : static_cast<gint64>(due));
}

void Bus::wait(int descriptor, int events, gint64 readyTime) {
  g_source_set_ready_time(source_.get(), readyTime);
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

void Bus::process() {
  queue_.mainThread()->recordDispatch();
  int result = 1;
  if (handshake_) {
    result = handshake_->advance();
    if (result == 0) return;
    wait(-1, 0);
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
  } else if (!isOpen_ && sd_bus_is_ready(bus_.get()) > 0) {
    isOpen_ = true;
    openedAt_ = monotonicNow();
    handlers_.opened(bus_.get());
  }
}

void Bus::lose() {
  wait(-1, 0);
  bus_.reset();
  if (std::exchange(isOpen_, false)) {
    if (monotonicNow() - openedAt_ >= kLasting) backoff_.reset();
    handlers_.lost();
  }
  reconnect_->setDueIn(backoff_.next());
}

}  // namespace quill::freedesktop
