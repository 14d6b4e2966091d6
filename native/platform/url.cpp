#include "url.h"

namespace quill {

namespace {

bool isOneOf(char character, std::string_view set) { return set.find(character) != std::string_view::npos; }

bool isAlphanumeric(char character) {
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
         (character >= 'a' && character <= 'z');
}

bool isEscape(std::string_view text) {
  constexpr std::string_view kHexadecimal = "0123456789ABCDEFabcdef";
  return text.size() >= 3 && text[0] == '%' && isOneOf(text[1], kHexadecimal) && isOneOf(text[2], kHexadecimal);
}

}  // namespace

std::string percentEncode(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  // Every punctuation character to which RFC 3986 gives a place.
  constexpr std::string_view kPunctuation = "-._~:/?#[]@!$&'()*+,;=";
  std::string escaped;
  escaped.reserve(text.size());
  for (; !text.empty(); text.remove_prefix(1)) {
    const char character = text.front();
    if (isAlphanumeric(character) || isOneOf(character, kPunctuation) || isEscape(text)) {
      escaped += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      escaped += {'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
    }
  }
  return escaped;
}

}  // namespace quill
