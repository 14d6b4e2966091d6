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

struct KnownPanel {
  const char* name;  ///< which it owns beside the watcher's: GNOME's shell itself, Plasma's daemon
  PanelKind kind;
};
constexpr std::array kPanels = {KnownPanel{"org.gnome.Shell", PanelKind::gnome},
                                KnownPanel{"org.kde.kded5", PanelKind::plasma},
                                KnownPanel{"org.kde.kded6", PanelKind::plasma}};

}  // namespace

Watcher::Watcher(GlibMainQueue& queue, std::string path, std::function<void(PanelKind panel)> found)
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
    const sd_bus_slot* answered = sd_bus_get_current_slot(sd_bus_message_get_bus(message));
    for (std::size_t i = 0; i < kPanels.size(); ++i) {
      if (watcher.panelOwners_[i].get() == answered) watcher.panel_ = kPanels[i].kind;
    }
  }
  if (--watcher.unanswered_ == 0) {
    watcher.found_(watcher.panel_);
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
  panel_ = PanelKind::other;
  for (auto& call : panelOwners_) call.reset();
  if (owner_.get().empty()) return;
  static_assert(kPanels.size() == kKnownPanels);
  unanswered_ = kPanels.size();
  for (std::size_t i = 0; i < kPanels.size(); ++i) {
    panelOwners_[i] = askNameOwner(bus_, kPanels[i].name, onPanelOwner, this);
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
