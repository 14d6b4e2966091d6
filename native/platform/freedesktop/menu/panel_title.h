#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "panel.h"

namespace quill::freedesktop {

/// A menu title as a panel reads it.
struct PanelTitle {
  std::string text;
  std::optional<std::size_t> mnemonic;  ///< the offset of the access key in `text`
};

/// Shortens a title to 60 columns: an ellipsis replaces the middle of a longer one. A user-perceived character is kept
/// or left out as a whole. A full-width character counts two columns. `title` is UTF-8, `mnemonic` an offset into it.
/// Pure.
PanelTitle panelTitle(std::string_view title, std::optional<std::size_t> mnemonic);

/// Returns the shortened title in the protocol's form, in which an underscore marks the access key. The panel shows all
/// other characters literally. U+0000 is replaced. Pure.
std::string panelLabel(std::string_view title, std::optional<std::size_t> mnemonic, const Panel& panel);

}  // namespace quill::freedesktop
