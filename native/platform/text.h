#pragma once

#include <string>
#include <string_view>

namespace quill {

// Defined by each platform, with its own Unicode library. Any thread.

/// `text` with U+FFFD in place of each ill-formed sequence of UTF-8.
std::string utf8Text(const char* text);

// Of well-formed UTF-8, independent of the locale: in a Turkish one, "shift" in upper case is not "SHIFT".

/// Full case mappings: the text may grow.
std::string lowerCase(std::string_view text);
std::string upperCase(std::string_view text);
/// Without blanks at both ends: tabs, and Unicode's space separators.
std::string trim(std::string_view text);
/// Whether it is what a user sees as one character: one extended grapheme cluster.
bool isSingleGrapheme(std::string_view text);

}  // namespace quill
