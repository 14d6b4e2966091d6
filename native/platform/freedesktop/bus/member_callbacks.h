#pragma once

#include <systemd/sd-bus.h>

#include <cerrno>
#include <type_traits>

#include "bus_message.h"
#include "report.h"

namespace quill::freedesktop {

/// The object behind sd-bus's `userdata`, of the class that a member pointer names.
template <typename Class, typename Member>
Class& objectOf(Member Class::*, void* userdata) {
  return *static_cast<Class*>(userdata);
}

/// A member function as sd-bus calls it: for a method of a vtable, a match or a reply.
template <auto method>
int call(sd_bus_message* message, void* userdata, sd_bus_error* error) {
  int result = -ENOMEM;
  completes([&] { result = (objectOf(method, userdata).*method)(message, error); });
  return result;
}

/// A getter of a vtable. `value` is a member, or a function or member function that appends to a MessageWriter.
template <auto value>
int get(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* userdata, sd_bus_error*) {
  MessageWriter to(reply);
  const bool isWritten = completes([&] {
    if constexpr (std::is_invocable_v<decltype(value), MessageWriter&>) {
      value(to);
    } else if constexpr (std::is_member_object_pointer_v<decltype(value)>) {
      to.append(objectOf(value, userdata).*value);
    } else {
      (objectOf(value, userdata).*value)(to);
    }
  });
  return isWritten ? to.result() : -ENOMEM;
}

}  // namespace quill::freedesktop
