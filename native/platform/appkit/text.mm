#include "text.h"

#include <nlohmann/json.hpp>

#include "foundation.h"
#include "url.h"

namespace quill {
namespace appkit {

NSString* toNSString(std::string_view text) {
  NSString* const made = [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
  return [made autorelease];
}

std::string toString(NSString* text) {
  NSData* const bytes = [text dataUsingEncoding:NSUTF8StringEncoding];
  return bytes == nil ? std::string() : std::string(static_cast<const char*>([bytes bytes]), [bytes length]);
}

SEL toSEL(Selector selector) { return selector.empty() ? nullptr : NSSelectorFromString(toNSString(selector)); }

}  // namespace appkit

/// Returns true for the tab and for Unicode's space separators.
static bool isBlank(char16_t character) {
  constexpr std::u16string_view kBlanks =
      u"\t \u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200A\u202F\u205F\u3000";
  return kBlanks.find(character) != std::u16string_view::npos;
}

// Uses the JSON library, because Foundation rejects a text with an ill-formed part as a whole. The JSON library
// replaces the ill-formed part alone.
std::string utf8Text(const char* text) {
  using nlohmann::json;
  return json::parse(json(text).dump(-1, ' ', false, json::error_handler_t::replace)).get<std::string>();
}

std::string lowerCase(std::string_view text) {
  std::string mapped;
  appkit::guarded([&] { mapped = appkit::toString([appkit::toNSString(text) lowercaseString]); });
  return mapped;
}

std::string upperCase(std::string_view text) {
  std::string mapped;
  appkit::guarded([&] { mapped = appkit::toString([appkit::toNSString(text) uppercaseString]); });
  return mapped;
}

std::string trim(std::string_view text) {
  std::string trimmed;
  appkit::guarded([&] {
    NSString* const string = appkit::toNSString(text);
    NSUInteger begin = 0;
    NSUInteger end = [string length];
    while (begin < end && isBlank([string characterAtIndex:begin])) ++begin;
    while (begin < end && isBlank([string characterAtIndex:end - 1])) --end;
    trimmed = appkit::toString([string substringWithRange:NSMakeRange(begin, end - begin)]);
  });
  return trimmed;
}

bool isSingleGrapheme(std::string_view text) {
  bool isSingle = false;
  appkit::guarded([&] {
    NSString* const string = appkit::toNSString(text);
    isSingle = [string length] > 0 && [string rangeOfComposedCharacterSequenceAtIndex:0].length == [string length];
  });
  return isSingle;
}

std::optional<Url> parseUrl(std::string_view text) {
  std::optional<Url> url;
  appkit::guarded([&, escaped = percentEncode(text)] {
    if (!escaped.empty() && [NSURL URLWithString:appkit::toNSString(escaped)] != nil) url = Url{escaped};
  });
  return url;
}

}  // namespace quill
