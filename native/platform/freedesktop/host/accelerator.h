#pragma once

#include <string>
#include <string_view>

#include "menu.h"

namespace quill::freedesktop {

/// A key equivalent as a menu model writes it.
struct Accelerator {
  std::string key;  ///< the keysym's name; empty: none
  ModifierFlags modifiers;
};

/// Reads texts such as "<Primary><Shift>k". Returns no key for malformed text and for a modifier that a menu item
/// cannot carry.
Accelerator parseAccelerator(std::string_view text);

}  // namespace quill::freedesktop
