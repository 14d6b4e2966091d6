#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "tray_manager.h"

namespace quill {

/// Reads a JSON array of objects into menu item records. Leaves out an object without a string "id" and a string
/// "title". Returns empty for text that is not JSON (RFC 8259), for anything but an array of objects, and for more than
/// 512 levels of nesting.
std::optional<std::vector<TrayManager::MenuItemData>> readMenuItems(std::string_view json);

}  // namespace quill
