#include "accelerator.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <utility>

namespace quill::freedesktop {
namespace {

using ModifierName = std::pair<std::string_view, ModifierFlags>;

// <Primary> is the platform's main modifier, which is Control here.
constexpr std::array kModifierNames{
    ModifierName{"primary", kControl}, ModifierName{"control", kControl}, ModifierName{"ctrl", kControl},
    ModifierName{"ctl", kControl},     ModifierName{"shift", kShift},     ModifierName{"shft", kShift},
    ModifierName{"alt", kOption},      ModifierName{"mod1", kOption},
};

}  // namespace

Accelerator parseAccelerator(std::string_view text) {
  Accelerator accelerator;
  while (text.starts_with('<')) {
    const auto end = text.find('>');
    if (end == std::string_view::npos) return {};
    std::string name(text.substr(1, end - 1));
    std::ranges::transform(name, name.begin(), g_ascii_tolower);
    const auto* const known = std::ranges::find(kModifierNames, name, &ModifierName::first);
    if (known == kModifierNames.end()) return {};
    accelerator.modifiers = accelerator.modifiers | known->second;
    text.remove_prefix(end + 1);
  }
  accelerator.key = text;
  return accelerator;
}

}  // namespace quill::freedesktop
