#include <glib.h>

#include "url.h"

namespace quill {

std::optional<Url> parseUrl(std::string_view text) {
  if (text.empty()) return std::nullopt;
  Url url{percentEncode(text)};
  if (!g_uri_split(url.text.c_str(), G_URI_FLAGS_ENCODED, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                   nullptr)) {
    return std::nullopt;
  }
  return url;
}

}  // namespace quill
