#pragma once

#include <array>
#include <chrono>
#include <span>

namespace quill::freedesktop {

/// How a panel gets a template.
enum class IconForm {
  pixels,               ///< in two tones, which are seen on any bar
  symbolic,             ///< as an SVG file that the panel paints in its own colour
  symbolicWithOutline,  ///< the same, over an outline in the colour of the bar's background
};

/// Which underscores of a menu title are doubled, so that the panel shows the title as it is.
enum class Underscores { all, first };

/// A well-known name by which a panel is recognised.
struct PanelName {
  const char* name = nullptr;  ///< null: none
  bool isOfProcess = false;    ///< any connection of the watcher's process may own it; else the watcher's own
};

/// What one panel needs of an item. A panel is recognised by the owner of the watcher's name.
struct Panel {
  std::array<PanelName, 2> names{};  ///< any of them will do
  const char* program = nullptr;     ///< the process's name, at most 15 characters; null: it does not tell
  IconForm icon = IconForm::pixels;
  Underscores underscores = Underscores::all;
  /// A match rule for the signal that the panel's colours changed; null: the panel paints icons anew by itself.
  const char* themeSignal = nullptr;
  /// When the panel has taken on the new colours, after that signal.
  std::chrono::milliseconds themeDelay{};
};

/// A panel of which nothing is known. Every panel shows an icon in this form.
inline constexpr Panel kUnknownPanel{};

/// The panels that need something else, one row each.
std::span<const Panel> knownPanels();

}  // namespace quill::freedesktop
