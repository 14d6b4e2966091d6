#include "name_owner.h"

#include <utility>

namespace quill::freedesktop {
namespace {

constexpr auto kDriver = "org.freedesktop.DBus";
constexpr auto kDriverPath = "/org/freedesktop/DBus";
constexpr auto kChangeMatch =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',interface='org.freedesktop.DBus',"
    "member='NameOwnerChanged',arg0='";

}  // namespace

SlotHandle askNameOwner(sd_bus* bus, const char* name, sd_bus_message_handler_t answered, void* self) {
  sd_bus_slot* slot = nullptr;
  const int result =
      sd_bus_call_method_async(bus, &slot, kDriver, kDriverPath, kDriver, "GetNameOwner", answered, self, "s", name);
  return SlotHandle(result >= 0 ? slot : nullptr);
}

const char* nameOwnerIn(sd_bus_message* reply) {
  const char* owner = nullptr;
  const bool isAnswer =
      sd_bus_message_is_method_error(reply, nullptr) == 0 && sd_bus_message_read(reply, "s", &owner) > 0;
  return isAnswer ? owner : nullptr;
}

void NameOwner::follow(sd_bus* bus) {
  // The match comes first, so that no change falls between the answer and the first signal. A failure
  // to send either is the connection's, which is then lost and made anew.
  const auto match = kChangeMatch + std::string(name_) + "'";
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_match_async(bus, &slot, match.c_str(), onChange, nullptr, this) >= 0) change_.reset(slot);
  answer_ = askNameOwner(bus, name_, onAnswer, this);
}

void NameOwner::leave() {
  set({});
  change_.reset();
  answer_.reset();
}

int NameOwner::onChange(sd_bus_message* message, void* self, sd_bus_error*) {
  const char* name = nullptr;
  const char* before = nullptr;
  const char* now = nullptr;
  if (sd_bus_message_read(message, "sss", &name, &before, &now) > 0) static_cast<NameOwner*>(self)->set(now);
  return 0;
}

int NameOwner::onAnswer(sd_bus_message* message, void* self, sd_bus_error*) {
  if (const char* owner = nameOwnerIn(message)) static_cast<NameOwner*>(self)->set(owner);
  return 0;
}

void NameOwner::set(std::string owner) {
  if (owner == owner_) return;
  owner_ = std::move(owner);
  changed_();
}

}  // namespace quill::freedesktop
