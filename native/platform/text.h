#pragma once

#include <string>
#include <string_view>

namespace quill {

// Of well-formed UTF-8, by the rules of no particular language: a host in a Turkish locale must not change what "shift"
// means. Defined once a platform. Any thread.

/// Full case mapping: the text may grow.
std::string lowerCase(std::string_view text);
std::string upperCase(std::string_view text);
/// Whether it is one character as users see it, an extended grapheme cluster.
bool isSingleGrapheme(std::string_view text);

}  // namespace quill
