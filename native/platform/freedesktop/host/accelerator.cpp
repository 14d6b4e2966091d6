#include "accelerator.h"

#include <glib.h>

#include <algorithm>
#include <array>

namespace quill::freedesktop {
namespace {

struct ModifierName {
  std::string_view name;
  ModifierFlags flag;
};

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
    std::transform(name.begin(), name.end(), name.begin(), g_ascii_tolower);
    const auto* const known = std::find_if(kModifierNames.begin(), kModifierNames.end(),
                                           [&](const auto& candidate) { return candidate.name == name; });
    if (known == kModifierNames.end()) return {};
    accelerator.modifiers = accelerator.modifiers | known->flag;
    text.remove_prefix(end + 1);
  }
  accelerator.key = text;
  return accelerator;
}

}  // namespace quill::freedesktop
