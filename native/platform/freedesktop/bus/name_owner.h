#pragma once

#include <functional>
#include <string>

#include "sd_bus_handles.h"

namespace quill::freedesktop {

/// Who owns a well-known name, now and after each change. Main thread.
class NameOwner {
 public:
  /// `changed` is called whenever get() has become another; `name` is a string literal.
  NameOwner(const char* name, std::function<void()> changed) : name_(name), changed_(std::move(changed)) {}
  NameOwner(const NameOwner&) = delete;
  NameOwner& operator=(const NameOwner&) = delete;

  void follow(sd_bus* bus);
  /// Forgets the connection, which is closed, and with it the owner.
  void leave();
  /// Its unique name; empty while there is none.
  const std::string& get() const { return owner_; }

 private:
  static int onChange(sd_bus_message* message, void* self, sd_bus_error* error);
  static int onAnswer(sd_bus_message* message, void* self, sd_bus_error* error);
  void set(std::string owner);

  const char* name_;
  std::function<void()> changed_;
  std::string owner_;
  SlotHandle change_;
  SlotHandle answer_;
};

/// Asks the bus who owns `name`; `answered` gets the reply, or an error where nobody does. Null: the
/// connection is closed.
SlotHandle askNameOwner(sd_bus* bus, const char* name, sd_bus_message_handler_t answered, void* self);
/// The owner that such a reply names; null: none.
const char* nameOwnerIn(sd_bus_message* reply);

}  // namespace quill::freedesktop
