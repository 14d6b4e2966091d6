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

/// The place from which a bar's colours can be read.
enum class ToneSource { none, xfconf, lxqtTheme, trayColours, plasmaStyle };

/// The bar under an icon, as far as the panel reports it.
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
  /// The panel paints an icon in its own colour again only if the icon's name or path differs.
  bool keepsPaintedIcon = false;
  Tone tone = Tone::white;  ///< of a bar that is unknown
  ToneSource toneSource = ToneSource::none;
  Underscores underscores = Underscores::all;
  /// Match rules for the signals of changed colours. None if the panel paints icons again by itself.
  std::array<const char*, 2> themeSignals{};
  /// The delays, in order, after which the panel must paint the icon again; 0 for none.
  std::array<std::chrono::milliseconds, 2> repaints{};
};

/// A panel of which nothing is known. Every panel shows an icon in this form.
inline constexpr Panel kUnknownPanel{};

/// The panels that need something else, one row each.
std::span<const Panel> knownPanels();

}  // namespace quill::freedesktop
