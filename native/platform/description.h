#pragma once

#include <string>
#include <string_view>

namespace quill {

/// One line that identifies an object in the log: `<TypeName: 0x7f…>`.
std::string describeObject(std::string_view typeName, const void* object);

/// The description of an object that may be missing; `nil` where it is.
template <typename Pointer>
std::string describeOptional(const Pointer& object) {
  return object ? object->description() : std::string("nil");
}

}  // namespace quill
