#include "registration.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "member_callbacks.h"
#include "sandbox.h"

namespace quill::freedesktop {
namespace {

constexpr auto kWatcher = "org.kde.StatusNotifierWatcher";
constexpr auto kWatcherPath = "/StatusNotifierWatcher";
constexpr auto kDriver = "org.freedesktop.DBus";
constexpr auto kDriverPath = "/org/freedesktop/DBus";
constexpr auto kOwnerOf = "GetNameOwner";
constexpr auto kProcessOf = "GetConnectionUnixProcessID";
constexpr auto kOwnerChange =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',interface='org.freedesktop.DBus',"
    "member='NameOwnerChanged',arg0='org.kde.StatusNotifierWatcher'";

constexpr std::chrono::milliseconds kFirstRetryDelay{100};
constexpr std::chrono::milliseconds kMaxRetryDelay{10'000};
/// The first attempt and seven more within 13 s.
constexpr int kMaxAttempts = 8;

/// Asks the bus about `name`; a name without an owner is answered with an error. Null: the connection is closed.
SlotHandle ask(sd_bus* bus, const char* method, const char* name, sd_bus_message_handler_t answered, void* userdata) {
  sd_bus_slot* slot = nullptr;
  sd_bus_call_method_async(bus, &slot, kDriver, kDriverPath, kDriver, method, answered, userdata, "s", name);
  return SlotHandle(slot);
}

/// The owner that such a reply names; empty: none.
std::string ownerIn(sd_bus_message* reply) {
  const char* owner = "";
  if (sd_bus_message_is_method_error(reply, nullptr) == 0) sd_bus_message_read(reply, "s", &owner);
  return owner;
}

/// The process that such a reply names; 0: none.
std::uint32_t processIn(sd_bus_message* reply) {
  std::uint32_t process = 0;
  if (sd_bus_message_is_method_error(reply, nullptr) == 0) sd_bus_message_read(reply, "u", &process);
  return process;
}

/// Whether the process runs `program`, by its name or its executable, because xfce4-panel renames its plugins'
/// processes. Always false in a sandbox, which sees its own processes only.
bool runs(std::uint32_t process, std::string_view program) {
  if (process == 0 || isSandboxed()) return false;
  const std::filesystem::path directory = "/proc/" + std::to_string(process);
  std::string name;
  std::getline(std::ifstream(directory / "comm"), name);
  std::error_code error;
  return name == program || std::filesystem::read_symlink(directory / "exe", error).filename() == program;
}

}  // namespace

Registration::Registration(GlibMainQueue& queue, const char* path, XEmbedTray& otherwise,
                           std::function<void(const Panel&)> found)
    : path_(path),
      otherwise_(otherwise),
      found_(std::move(found)),
      backoff_(kFirstRetryDelay, kMaxRetryDelay),
      retry_(queue, [this] { registerItem(); }) {}

void Registration::follow(sd_bus* bus) {
  bus_ = bus;
  // The match precedes the query, so that no change is missed between the reply and the first signal. If sending either
  // fails, the connection is broken and is made again.
  sd_bus_add_match_async(bus, nullptr, kOwnerChange, call<&Registration::onOwnerChange>, nullptr, this);
  ownerQuery_ = ask(bus, kOwnerOf, kWatcher, call<&Registration::onOwner>, this);
}

void Registration::leave() {
  setOwner({});
  ownerQuery_.reset();
  bus_ = nullptr;
}

int Registration::onOwnerChange(sd_bus_message* signal, sd_bus_error*) {
  const char* owner = nullptr;
  if (sd_bus_message_read(signal, "sss", nullptr, nullptr, &owner) > 0) setOwner(owner);
  return 0;
}

int Registration::onOwner(sd_bus_message* reply, sd_bus_error*) {
  if (auto owner = ownerIn(reply); !owner.empty()) setOwner(std::move(owner));
  if (owner_.empty()) otherwise_.setNeeded(true);
  return 0;
}

int Registration::onProcess(sd_bus_message* reply, sd_bus_error*) {
  process_ = processIn(reply);
  for (const auto& panel : knownPanels()) {
    if (panel.program != nullptr && runs(process_, panel.program)) panel_ = &panel;
  }
  return answered(reply, false);
}

int Registration::onNameOwner(sd_bus_message* reply, sd_bus_error*) {
  return answered(reply, ownerIn(reply) == owner_);
}

int Registration::onNameProcess(sd_bus_message* reply, sd_bus_error*) {
  return answered(reply, process_ != 0 && processIn(reply) == process_);
}

int Registration::answered(sd_bus_message* reply, bool isThis) {
  if (isThis) {
    const sd_bus_slot* slot = sd_bus_get_current_slot(sd_bus_message_get_bus(reply));
    panel_ = std::ranges::find(queries_, slot, [](const Query& query) { return query.slot.get(); })->panel;
  }
  if (--unanswered_ == 0) {
    found_(*panel_);
    // Before the registration, so that two trays never show the item.
    if (hasHost_ == true) otherwise_.setNeeded(false);
    registerItem();
  }
  return 0;
}

int Registration::onRegistered(sd_bus_message* reply, sd_bus_error*) {
  const bool isRefused = sd_bus_message_is_method_error(reply, nullptr) > 0;
  if (isRefused && attempts_ < kMaxAttempts) retry_.setDueIn(backoff_.next());
  isAccepted_ = !isRefused;
  otherwise_.setNeeded(isRefused || hasHost_ == false);
  return 0;
}

int Registration::onWatcherSignal(sd_bus_message* signal, sd_bus_error*) {
  const bool isOfHosts = sd_bus_message_is_signal(signal, kWatcher, "StatusNotifierHostRegistered") > 0 ||
                         sd_bus_message_is_signal(signal, kWatcher, "StatusNotifierHostUnregistered") > 0;
  if (isOfHosts) askForHost();
  return 0;
}

int Registration::onHost(sd_bus_message* reply, sd_bus_error*) {
  hasHost_.reset();
  int hasHost = 0;
  const bool isError = sd_bus_message_is_method_error(reply, nullptr) > 0;
  if (!isError && sd_bus_message_read(reply, "v", "b", &hasHost) > 0) hasHost_ = hasHost != 0;
  if (std::exchange(isHostAwaited_, false)) return answered(reply, false);
  if (isAccepted_) otherwise_.setNeeded(hasHost_ == false);
  return 0;
}

void Registration::askForHost() {
  sd_bus_slot* slot = nullptr;
  sd_bus_call_method_async(bus_, &slot, owner_.c_str(), kWatcherPath, "org.freedesktop.DBus.Properties", "Get",
                           call<&Registration::onHost>, this, "ss", kWatcher, "IsStatusNotifierHostRegistered");
  hostQuery_.reset(slot);
}

void Registration::setOwner(std::string owner) {
  if (owner == owner_) return;
  owner_ = std::move(owner);
  registration_.reset();
  retry_.cancel();
  backoff_.reset();
  attempts_ = 0;
  queries_.clear();
  watcherSignals_.reset();
  hostQuery_.reset();
  hasHost_.reset();
  isAccepted_ = false;
  owner_.empty() ? otherwise_.setNeeded(true) : recognise();
}

void Registration::recognise() {
  process_ = 0;
  panel_ = &kUnknownPanel;
  // The bus answers in this order, so the process of the watcher is known first.
  queries_.push_back({ask(bus_, kProcessOf, owner_.c_str(), call<&Registration::onProcess>, this), nullptr});
  for (const auto& panel : knownPanels()) {
    for (const auto& [name, isOfProcess] : panel.names) {
      if (name == nullptr) continue;
      queries_.push_back({isOfProcess ? ask(bus_, kProcessOf, name, call<&Registration::onNameProcess>, this)
                                      : ask(bus_, kOwnerOf, name, call<&Registration::onNameOwner>, this),
                          &panel});
    }
  }
  sd_bus_slot* slot = nullptr;
  sd_bus_match_signal_async(bus_, &slot, owner_.c_str(), kWatcherPath, kWatcher, nullptr,
                            call<&Registration::onWatcherSignal>, nullptr, this);
  watcherSignals_.reset(slot);
  askForHost();
  // If the item is not in the other tray, the registration does not wait for the watcher's answer.
  isHostAwaited_ = otherwise_.isInUse();
  unanswered_ = queries_.size() + (isHostAwaited_ ? 1 : 0);
}

void Registration::registerItem() {
  ++attempts_;
  sd_bus_slot* slot = nullptr;
  // Fails if the connection is closed; the next connection queries again.
  sd_bus_call_method_async(bus_, &slot, kWatcher, kWatcherPath, kWatcher, "RegisterStatusNotifierItem",
                           call<&Registration::onRegistered>, this, "s", path_);
  registration_.reset(slot);
}

}  // namespace quill::freedesktop
