#include "watcher.h"

#include <utility>

namespace quill::freedesktop {
namespace {

constexpr auto kWatcher = "org.kde.StatusNotifierWatcher";
constexpr auto kWatcherPath = "/StatusNotifierWatcher";

constexpr std::chrono::milliseconds kFirstDelay{100};
constexpr std::chrono::milliseconds kLongestDelay{10'000};
/// The first attempt and seven more within 13 s.
constexpr int kAttempts = 8;

/// Names whose owner, where it is the watcher too, draws symbolic icons in the bar's own colour, also
/// after its theme was switched: GNOME's shell, and the daemons of Plasma 5 and 6. Xfce's panel is not
/// among them: it recolours an icon when it loads it, and leaves it in that colour when the bar changes.
constexpr std::array kRecolouring = {"org.gnome.Shell", "org.kde.kded5", "org.kde.kded6"};

}  // namespace

Watcher::Watcher(GlibMainQueue& queue, std::string path, std::function<void(bool recolours)> found)
    : path_(std::move(path)),
      found_(std::move(found)),
      owner_(kWatcher, [this] { ownerChanged(); }),
      backoff_(kFirstDelay, kLongestDelay),
      retry_(queue, [this] { registerItem(); }) {}

void Watcher::follow(sd_bus* bus) {
  bus_ = bus;
  owner_.follow(bus);
}

void Watcher::leave() {
  owner_.leave();
  bus_ = nullptr;
}

int Watcher::onPanelOwner(sd_bus_message* message, void* self, sd_bus_error*) {
  auto& watcher = *static_cast<Watcher*>(self);
  if (const char* owner = nameOwnerIn(message); owner != nullptr && owner == watcher.owner_.get()) {
    watcher.recolours_ = true;
  }
  if (--watcher.unanswered_ == 0) {
    watcher.found_(watcher.recolours_);
    watcher.registerItem();
  }
  return 0;
}

int Watcher::onRegistered(sd_bus_message* message, void* self, sd_bus_error*) {
  auto& watcher = *static_cast<Watcher*>(self);
  if (sd_bus_message_is_method_error(message, nullptr) > 0) watcher.retryLater();
  return 0;
}

void Watcher::ownerChanged() {
  registration_.reset();
  retry_.cancel();
  backoff_.reset();
  attempts_ = 0;
  recolours_ = false;
  for (auto& call : panelOwners_) call.reset();
  if (owner_.get().empty()) return;
  static_assert(kRecolouring.size() == kRecolouringPanels);
  unanswered_ = kRecolouring.size();
  for (std::size_t i = 0; i < kRecolouring.size(); ++i) {
    panelOwners_[i] = askNameOwner(bus_, kRecolouring[i], onPanelOwner, this);
  }
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
