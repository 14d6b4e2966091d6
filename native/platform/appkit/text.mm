#include "text.h"

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

// None of these asks for the user's language.

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
  appkit::guarded([&, escaped = escapeUrl(text)] {
    if (!escaped.empty() && [NSURL URLWithString:appkit::toNSString(escaped)] != nil) url = Url{escaped};
  });
  return url;
}

}  // namespace quill
