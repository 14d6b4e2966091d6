#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quill {

/// A URL in the form in which it is handed on: ASCII, with nothing in it that a URL may not hold.
struct Url {
  std::string text;
};

/// Reads a URL or a relative reference (RFC 3986) from UTF-8 text. What a URL may hold stays byte for
/// byte; characters that it may not hold, and a % that begins no escape, are percent-encoded. Empty
/// for empty text and for what is malformed all the same. Any thread.
std::optional<Url> parseUrl(std::string_view text);

/// Percent-encodes what no URL may hold, and a % that begins no escape; the rest stays byte for byte. Any thread.
std::string escapeUrl(std::string_view text);

}  // namespace quill
