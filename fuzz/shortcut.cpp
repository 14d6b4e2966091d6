// The two grammars in which a host writes a menu item's keys.
#include "shortcut.h"

#include "accelerator.h"
#include "made_up_text.h"
#include "require.h"

namespace quill::fuzz {
namespace {

void parseBoth(const std::string& text) {
  if (const auto shortcut = parseShortcut(text)) {
    require(!shortcut->keyEquivalent.empty() && isWellFormed(shortcut->keyEquivalent));
    require(shortcut->keyEquivalent.find('+') == std::string::npos);
    for (const auto& word : shortcut->unknownModifiers) require(isWellFormed(word));
  } else {
    require(text.empty() || text.ends_with('+'));
  }
  const auto accelerator = freedesktop::parseAccelerator(text);
  require(text.ends_with(accelerator.key) && !accelerator.key.starts_with('<'));
}

}  // namespace
}  // namespace quill::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quill::fuzz::parseBoth(quill::fuzz::textOf(data, size));
  return 0;
}
