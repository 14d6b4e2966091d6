#include "watcher.h"

#include <utility>

namespace quill::freedesktop {
namespace {

constexpr auto kWatcher = "org.kde.StatusNotifierWatcher";
constexpr auto kWatcherPath = "/StatusNotifierWatcher";
constexpr auto kDriver = "org.freedesktop.DBus";
constexpr auto kDriverPath = "/org/freedesktop/DBus";
constexpr auto kOwnerMatch =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',interface='org.freedesktop.DBus',"
    "member='NameOwnerChanged',arg0='org.kde.StatusNotifierWatcher'";

constexpr std::chrono::milliseconds kFirstDelay{100};
constexpr std::chrono::milliseconds kLongestDelay{10'000};
/// The first attempt and seven more within 13 s.
constexpr int kAttempts = 8;

}  // namespace

Watcher::Watcher(GlibMainQueue& queue, std::string path)
    : path_(std::move(path)), backoff_(kFirstDelay, kLongestDelay), retry_(queue, [this] { registerItem(); }) {}

void Watcher::follow(sd_bus* bus) {
  bus_ = bus;
  // The match comes first, so that no change falls between the answer and the first signal. A failure
  // to send either is the connection's, which is then lost and made anew.
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_match_async(bus, &slot, kOwnerMatch, onNameOwnerChanged, nullptr, this) >= 0) {
    nameOwnerChanged_.reset(slot);
  }
  if (sd_bus_call_method_async(bus, &slot, kDriver, kDriverPath, kDriver, "GetNameOwner", onNameOwner, this, "s",
                               kWatcher) >= 0) {
    nameOwner_.reset(slot);
  }
}

void Watcher::leave() {
  setOwner({});
  nameOwnerChanged_.reset();
  nameOwner_.reset();
  bus_ = nullptr;
}

int Watcher::onNameOwnerChanged(sd_bus_message* message, void* self, sd_bus_error*) {
  const char* name = nullptr;
  const char* before = nullptr;
  const char* now = nullptr;
  if (sd_bus_message_read(message, "sss", &name, &before, &now) > 0) static_cast<Watcher*>(self)->setOwner(now);
  return 0;
}

int Watcher::onNameOwner(sd_bus_message* message, void* self, sd_bus_error*) {
  const char* owner = nullptr;
  if (sd_bus_message_is_method_error(message, nullptr) == 0 && sd_bus_message_read(message, "s", &owner) > 0) {
    static_cast<Watcher*>(self)->setOwner(owner);
  }
  return 0;
}

int Watcher::onRegistered(sd_bus_message* message, void* self, sd_bus_error*) {
  auto& watcher = *static_cast<Watcher*>(self);
  if (sd_bus_message_is_method_error(message, nullptr) > 0) watcher.retryLater();
  return 0;
}

void Watcher::setOwner(std::string owner) {
  if (owner == owner_) return;
  owner_ = std::move(owner);
  registration_.reset();
  retry_.cancel();
  backoff_.reset();
  attempts_ = 0;
  if (!owner_.empty()) registerItem();
}

void Watcher::registerItem() {
  ++attempts_;
  sd_bus_message* created = nullptr;
  if (sd_bus_message_new_method_call(bus_, &created, kWatcher, kWatcherPath, kWatcher, "RegisterStatusNotifierItem") <
      0) {
    return;  // the connection is closed, and the next one asks again
  }
  const MessageHandle call(created);
  sd_bus_slot* slot = nullptr;
  if (sd_bus_message_set_auto_start(created, 0) >= 0 && sd_bus_message_append(created, "s", path_.c_str()) >= 0 &&
      sd_bus_call_async(bus_, &slot, created, onRegistered, this, 0) >= 0) {
    registration_.reset(slot);
  }
}

void Watcher::retryLater() {
  if (attempts_ < kAttempts) retry_.setDueIn(backoff_.next());
}

}  // namespace quill::freedesktop
