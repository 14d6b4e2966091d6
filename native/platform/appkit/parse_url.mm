#include "guard.h"
#include "url.h"

namespace quill {

std::optional<Url> parseUrl(std::string_view text) {
  std::optional<Url> url;
  auto escaped = escapeUrl(text);
  appkit::guarded([&] {
    if (!escaped.empty() && [NSURL URLWithString:appkit::toNSString(escaped)] != nil) url = Url{std::move(escaped)};
  });
  return url;
}

}  // namespace quill
