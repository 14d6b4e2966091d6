#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "tray_manager.h"

namespace quill {

/// Reads a JSON array of objects into menu item records; an object without a string "id" and a
/// string "title" is left out. Empty for text that is no JSON (RFC 8259, no leniency), anything but
/// an array of objects, or nesting deeper than the platform's 512 levels.
std::optional<std::vector<TrayManager::MenuItemData>> readMenuItems(std::string_view json);

}  // namespace quill
