#include <glib.h>

#include "url.h"

namespace quill {

std::optional<Url> parseUrl(std::string_view text) {
  if (text.empty()) return std::nullopt;
  auto escaped = escapeUrl(text);
  const bool wellFormed = g_uri_split(escaped.c_str(), G_URI_FLAGS_ENCODED, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr, nullptr) != FALSE;
  if (!wellFormed) return std::nullopt;
  return Url{std::move(escaped)};
}

}  // namespace quill
