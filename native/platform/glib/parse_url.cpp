#include <glib.h>

#include "url.h"

namespace quill {

namespace {

bool isEscape(std::string_view text) {
  return text.size() >= 3 && text[0] == '%' && g_ascii_isxdigit(text[1]) && g_ascii_isxdigit(text[2]);
}

bool isUrlCharacter(char character) {
  constexpr std::string_view kPunctuation = "-._~:/?#[]@!$&'()*+,;=";
  return g_ascii_isalnum(character) || kPunctuation.find(character) != std::string_view::npos;
}

std::string percentEncode(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string escaped;
  for (; !text.empty(); text.remove_prefix(1)) {
    const char character = text.front();
    if (isUrlCharacter(character) || isEscape(text)) {
      escaped += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      escaped += {'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
    }
  }
  return escaped;
}

}  // namespace

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
