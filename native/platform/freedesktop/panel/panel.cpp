#include "panel.h"

namespace quill::freedesktop {
namespace {

using namespace std::chrono_literals;

// docs/panels.md says what a user sees in each. waybar, lxqt-panel, Cinnamon and Budgie paint pixels only and need
// no row.
constexpr Panel kPanels[] = {
    // gnome-shell-extension-appindicator paints names that end in "-symbolic" in the bar's colour. dbusMenu.js replaces
    // /_([^_])/ by the character, once for each label; all other underscores are shown.
    {.names = {{{"org.gnome.Shell"}}}, .icon = IconForm::symbolic, .underscores = Underscores::first},
    // Plasma's icon loader fills the class ColorScheme-Text of an SVG. Plasma 5 takes the application's palette, which
    // may be as dark as the bar, for a file outside of the user's icon themes; hence the outline. A new colour scheme
    // is announced by KGlobalSettings; the icon is painted in it when it is read again.
    {.names = {{{"org.kde.kded5"}, {"org.kde.kded6"}}},
     .icon = IconForm::symbolicWithOutline,
     .themeSignal = "type='signal',path='/KGlobalSettings',interface='org.kde.KGlobalSettings',member='notifyChange'",
     .themeDelay = 200ms},
};

}  // namespace

std::span<const Panel> knownPanels() { return kPanels; }

}  // namespace quill::freedesktop
