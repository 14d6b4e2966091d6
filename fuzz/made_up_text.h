#pragma once

#include <unistr.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "text.h"

namespace quill::fuzz {

/// Text as it is once it has come in: well-formed UTF-8 with whatever U+0000 there is.
inline std::string textOf(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  std::string text;
  for (std::size_t at = 0; at <= size; at += std::string_view(bytes.c_str() + at).size() + 1) {
    if (at > 0) text += '\0';
    text += utf8Text(bytes.c_str() + at);
  }
  return text;
}

inline bool isWellFormed(std::string_view text) {
  return u8_check(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()) == nullptr;
}

/// What can be sent over a bus.
inline bool isSendable(std::string_view text) {
  return isWellFormed(text) && text.find('\0') == std::string_view::npos;
}

}  // namespace quill::fuzz
