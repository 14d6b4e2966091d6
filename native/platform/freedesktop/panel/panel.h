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
  file,                 ///< as an SVG file in two tones, named by its path
};

/// Which underscores of a menu title are doubled, so that the panel shows the title as it is.
enum class Underscores { all, first };

/// A well-known name by which a panel is recognised.
struct PanelName {
  const char* name = nullptr;  ///< null: none
  bool isOfProcess = false;    ///< any connection of the watcher's process may own it; else the watcher's own
};

/// The tone of an icon's fill; its outline has the other one.
enum class Tone { white, black };

/// Where a panel tells how light its bar is.
enum class ToneSource { none, xfconf, lxqtTheme, trayColours };

/// The bar under an icon, as far as the panel tells.
struct Bar {
  Tone tone = Tone::white;        ///< the tone with more contrast on the bar
  bool isOfOtherColours = false;  ///< the user chose its background against the theme, so that the panel's own colour
                                  ///< may not be seen on it
  bool operator==(const Bar&) const = default;
};

/// Whether black is seen better than white on a colour, whose parts are from 0 to 1.
bool isLight(double red, double green, double blue);

/// What one panel needs of an item. A panel is recognised by the owner of the watcher's name.
struct Panel {
  std::array<PanelName, 2> names{};  ///< any of them will do
  const char* program = nullptr;     ///< the file name of the process's program; null: it does not tell
  IconForm icon = IconForm::pixels;
  bool animatesPixels = false;  ///< while an animation plays, pixels cost the panel less
  /// The panel paints an icon of its own colour anew only when the name or the path of the icon differs.
  bool keepsPaintedIcon = false;
  Tone tone = Tone::white;  ///< of a bar that is not told
  ToneSource toneSource = ToneSource::none;
  Underscores underscores = Underscores::all;
  /// Match rules for the signals that the panel's colours changed. None: the panel paints icons anew by itself.
  std::array<const char*, 2> themeSignals{};
  /// When to have the icon painted anew after such a signal, in order; 0: not.
  std::array<std::chrono::milliseconds, 2> repaints{};
};

/// A panel of which nothing is known. Every panel shows an icon in this form.
inline constexpr Panel kUnknownPanel{};

/// The panels that need something else, one row each.
std::span<const Panel> knownPanels();

}  // namespace quill::freedesktop
