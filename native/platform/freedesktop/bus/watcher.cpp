#include "watcher.h"

#include <array>
#include <utility>

#include "member_callbacks.h"

namespace quill::freedesktop {
namespace {

constexpr auto kWatcher = "org.kde.StatusNotifierWatcher";
constexpr auto kWatcherPath = "/StatusNotifierWatcher";
constexpr auto kDriver = "org.freedesktop.DBus";
constexpr auto kDriverPath = "/org/freedesktop/DBus";
constexpr auto kOwnerChange =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',interface='org.freedesktop.DBus',"
    "member='NameOwnerChanged',arg0='org.kde.StatusNotifierWatcher'";

constexpr std::chrono::milliseconds kFirstDelay{100};
constexpr std::chrono::milliseconds kMaxDelay{10'000};
/// The first attempt and seven more within 13 s.
constexpr int kAttempts = 8;

struct KnownPanel {
  const char* name;  ///< which the watcher's owner has as well: GNOME's shell itself, Plasma's daemon
  PanelKind kind;
};
constexpr std::array kPanels = {KnownPanel{"org.gnome.Shell", PanelKind::gnome},
                                KnownPanel{"org.kde.kded5", PanelKind::plasma},
                                KnownPanel{"org.kde.kded6", PanelKind::plasma}};

/// Asks the bus who owns `name`; a name without an owner is answered with an error. Null: the connection is closed.
SlotHandle askOwner(sd_bus* bus, const char* name, sd_bus_message_handler_t answered, void* userdata) {
  sd_bus_slot* slot = nullptr;
  sd_bus_call_method_async(bus, &slot, kDriver, kDriverPath, kDriver, "GetNameOwner", answered, userdata, "s", name);
  return SlotHandle(slot);
}

/// The owner that such a reply names; empty: none.
std::string ownerIn(sd_bus_message* reply) {
  const char* owner = "";
  if (sd_bus_message_is_method_error(reply, nullptr) == 0) sd_bus_message_read(reply, "s", &owner);
  return owner;
}

}  // namespace

Watcher::Watcher(GlibMainQueue& queue, const char* path, std::function<void(PanelKind panel)> found)
    : path_(path),
      found_(std::move(found)),
      backoff_(kFirstDelay, kMaxDelay),
      retry_(queue, [this] { registerItem(); }) {}

void Watcher::follow(sd_bus* bus) {
  bus_ = bus;
  // The match comes first, so that no change is missed between the answer and the first signal. A failure to send
  // either is the connection's, which is then lost and made anew.
  sd_bus_add_match_async(bus, nullptr, kOwnerChange, call<&Watcher::onOwnerChange>, nullptr, this);
  ownerQuery_ = askOwner(bus, kWatcher, call<&Watcher::onOwner>, this);
}

void Watcher::leave() {
  setOwner({});
  ownerQuery_.reset();
  bus_ = nullptr;
}

int Watcher::onOwnerChange(sd_bus_message* signal, sd_bus_error*) {
  const char* owner = nullptr;
  if (sd_bus_message_read(signal, "sss", nullptr, nullptr, &owner) > 0) setOwner(owner);
  return 0;
}

int Watcher::onOwner(sd_bus_message* reply, sd_bus_error*) {
  if (auto owner = ownerIn(reply); !owner.empty()) setOwner(std::move(owner));
  return 0;
}

int Watcher::onPanelOwner(sd_bus_message* reply, sd_bus_error*) {
  if (ownerIn(reply) == owner_) {
    const sd_bus_slot* answered = sd_bus_get_current_slot(sd_bus_message_get_bus(reply));
    for (std::size_t i = 0; i < kPanels.size(); ++i) {
      if (panelQueries_[i].get() == answered) panel_ = kPanels[i].kind;
    }
  }
  if (--unanswered_ == 0) {
    found_(panel_);
    registerItem();
  }
  return 0;
}

int Watcher::onRegistered(sd_bus_message* reply, sd_bus_error*) {
  const bool isRefused = sd_bus_message_is_method_error(reply, nullptr) > 0;
  if (isRefused && attempts_ < kAttempts) retry_.setDueIn(backoff_.next());
  return 0;
}

void Watcher::setOwner(std::string owner) {
  if (owner == owner_) return;
  owner_ = std::move(owner);
  registration_.reset();
  retry_.cancel();
  backoff_.reset();
  attempts_ = 0;
  panel_ = PanelKind::other;
  panelQueries_.clear();
  if (owner_.empty()) return;
  for (const auto& panel : kPanels) {
    panelQueries_.push_back(askOwner(bus_, panel.name, call<&Watcher::onPanelOwner>, this));
  }
  unanswered_ = panelQueries_.size();
}

void Watcher::registerItem() {
  ++attempts_;
  sd_bus_message* created = nullptr;
  if (sd_bus_message_new_method_call(bus_, &created, kWatcher, kWatcherPath, kWatcher, "RegisterStatusNotifierItem") <
      0) {
    return;  // the connection is closed, and the next one asks again
  }
  const MessageHandle request(created);
  sd_bus_slot* slot = nullptr;
  if (sd_bus_message_set_auto_start(created, 0) >= 0 && sd_bus_message_append(created, "s", path_) >= 0 &&
      sd_bus_call_async(bus_, &slot, created, call<&Watcher::onRegistered>, this, 0) >= 0) {
    registration_.reset(slot);
  }
}

}  // namespace quill::freedesktop
