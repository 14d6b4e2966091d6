// What becomes of a host's text before the user's default handler is given it.
#include "url.h"

#include <algorithm>

#include "made_up_text.h"
#include "require.h"

namespace quill::fuzz {
namespace {

void parse(const std::string& text) {
  const auto url = parseUrl(text);
  if (!url) return;
  require(!url->text.empty());
  require(std::all_of(url->text.begin(), url->text.end(), [](char c) { return c > ' ' && c < '\x7F'; }));
  require(url->text.find_first_of("\"<>\\^`{|}") == std::string::npos);
  const auto again = parseUrl(url->text);
  require(again && again->text == url->text);
}

}  // namespace
}  // namespace quill::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quill::fuzz::parse(quill::fuzz::textOf(data, size));
  return 0;
}
