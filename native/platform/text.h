#pragma once

#include <string>
#include <string_view>

namespace quill {

// Defined by each platform, with its own Unicode library. Any thread.

/// `text` with U+FFFD in place of each ill-formed sequence of UTF-8.
std::string utf8Text(const char* text);

// The functions below take well-formed UTF-8. They ignore the locale, because a Turkish one maps "shift" to "SHİFT".

/// Full case mappings: the text may grow.
std::string lowerCase(std::string_view text);
std::string upperCase(std::string_view text);
/// Removes tabs and Unicode's space separators at both ends.
std::string trim(std::string_view text);
/// Whether a user sees `text` as one character: it is one extended grapheme cluster.
bool isSingleGrapheme(std::string_view text);

}  // namespace quill
