#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quill {

/// A well-formed URL, in ASCII.
struct Url {
  std::string text;
};

/// Reads a URL or a relative reference (RFC 3986) from UTF-8 text. Characters that a URL may not hold, and a % that
/// begins no escape, are percent-encoded. Returns empty for empty or malformed text. Any thread.
std::optional<Url> parseUrl(std::string_view text);

/// Percent-encodes the characters that no URL may hold, and a % that begins no escape. Leaves all other bytes as they
/// are. Any thread.
std::string percentEncode(std::string_view text);

}  // namespace quill
