#pragma once

#include <string>

namespace quill {

/// A NUL-terminated text as well-formed UTF-8: each ill-formed sequence becomes U+FFFD. `text` is not null.
std::string utf8Text(const char* text);

}  // namespace quill
