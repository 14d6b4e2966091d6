#include "description.h"

#include <array>
#include <charconv>
#include <cstdint>

namespace quill {

std::string describeObject(std::string_view typeName, const void* object) {
  std::array<char, 16> digits{};
  const auto address = reinterpret_cast<std::uintptr_t>(object);
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), address, 16).ptr;
  std::string text = "<";
  text.append(typeName).append(": 0x").append(digits.data(), end).append(">");
  return text;
}

}  // namespace quill
