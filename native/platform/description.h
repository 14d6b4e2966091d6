#pragma once

#include <array>
#include <cstdio>
#include <string>

#include "geometry.h"

namespace quill {

/// One line that identifies an object in the log: `<TypeName: 0x7f…>`, with `details` before the ">".
inline std::string describeObject(const char* typeName, const void* object, const std::string& details = {}) {
  std::array<char, 32> address{};
  std::snprintf(address.data(), address.size(), "%p", object);
  return std::string("<") + typeName + ": " + address.data() + details + ">";
}

/// The description of an object; `nil` if the pointer is null.
template <typename Pointer>
std::string describeOptional(const Pointer& object) {
  return object ? object->description() : std::string("nil");
}

/// Width, the letter x, height: each in the shortest decimal form that reads back to the same value, whole values with
/// one decimal place (22.0).
std::string sizeText(Size size);
/// "true" or "false".
std::string flagText(bool flag);

}  // namespace quill
