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

// Foundation refuses ill-formed text whole; a JSON string is mended where it is ill-formed.
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
    NSCharacterSet* const blanks = [NSCharacterSet whitespaceCharacterSet];
    trimmed = appkit::toString([appkit::toNSString(text) stringByTrimmingCharactersInSet:blanks]);
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
