#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "panel.h"

namespace quill::freedesktop {

/// A menu title as a panel is given it.
struct PanelTitle {
  std::string text;
  std::optional<std::size_t> mnemonic;  ///< the offset of the access key in `text`
};

/// The title, at most 60 columns wide: of a longer one the middle gives way to an ellipsis. A user-perceived
/// character is kept or left out as a whole; one of full width counts two columns. `title` is UTF-8, `mnemonic` an
/// offset into it. Pure.
PanelTitle panelTitle(std::string_view title, std::optional<std::size_t> mnemonic);

/// That title in the protocol's form, so that the panel shows it literally and underlines its access key if it has
/// such: an underscore marks the access key, and U+0000 is replaced. Pure.
std::string panelLabel(std::string_view title, std::optional<std::size_t> mnemonic, const Panel& panel);

}  // namespace quill::freedesktop
