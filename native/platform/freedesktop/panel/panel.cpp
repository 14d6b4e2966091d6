#include "panel.h"

#include <cmath>

namespace quill::freedesktop {
namespace {

using namespace std::chrono_literals;

// docs/panels.md says what a user sees in each. waybar, Cinnamon and Budgie paint pixels only, on bars that are dark by
// default, and need no row.
constexpr Panel kPanels[] = {
    // gnome-shell-extension-appindicator paints names that end in "-symbolic" in the bar's colour. dbusMenu.js replaces
    // /_([^_])/ by the character, once for each label; all other underscores are shown.
    {.names = {{{"org.gnome.Shell"}}}, .icon = IconForm::symbolic, .underscores = Underscores::first},
    // Plasma's icon loader fills the class ColorScheme-Text of an SVG. For a file outside the user's icon themes,
    // Plasma 5 takes the application's palette, which may be as dark as the bar. The outline keeps such an icon
    // visible. KGlobalSettings announces a new colour scheme, and a panel that reads the icon again paints it in that
    // scheme. A tick of an animation costs the session 1.9 ms of CPU by a name, 1.5 by pixels.
    {.names = {{{"org.kde.kded5"}, {"org.kde.kded6"}}},
     .icon = IconForm::symbolicWithOutline,
     .animatesPixels = true,
     .tone = Tone::black,
     .toneSource = ToneSource::plasmaStyle,
     .themeSignals = {"type='signal',path='/KGlobalSettings',interface='org.kde.KGlobalSettings',"
                      "member='notifyChange'"},
     .repaints = {200ms}},
    // xfce4-panel's systray plugin (4.18 and 4.20; sn-icon-box.c) paints names that end in "-symbolic" in the bar's
    // colour. It paints an icon again only if the icon's name or path differs. An icon painted right after a switch of
    // the theme has the old colour. An icon painted 100 ms later may have a colour from the middle of the theme's
    // transition, which is 400 ms in mate-themes. For each name the plugin builds an icon theme, which costs 4.8 ms of
    // CPU; pixels cost 0.9 ms.
    {.program = "wrapper-2.0",
     .icon = IconForm::symbolic,
     .animatesPixels = true,
     .keepsPaintedIcon = true,
     .toneSource = ToneSource::xfconf,
     .themeSignals = {"type='signal',interface='org.xfce.Xfconf',member='PropertyChanged',arg0='xsettings',"
                      "arg1='/Net/ThemeName'",
                      "type='signal',interface='org.xfce.Xfconf',member='PropertyChanged',arg0='xfce4-panel'"},
     .repaints = {100ms, 1500ms}},
    // mate-panel's bar is light in its default theme, Menta. Its notification area sets the X11 property.
    {.names = {{{"org.mate.panel.applet.NotificationAreaAppletFactory"}}},
     .tone = Tone::black,
     .toneSource = ToneSource::trayColours},
    // lxqt-panel's bar depends on its own theme; Debian's is dark.
    {.program = "lxqt-panel", .toneSource = ToneSource::lxqtTheme},
    // ayatana-indicator-application 22.2 is the watcher of bars that show indicators. It forwards IconName and
    // IconThemePath, but no pixels. The bars find a new file in a theme folder late or never, but load a path. The
    // service owns its own name on another connection than the watcher's name.
    {.names = {{{"org.ayatana.indicator.application", true}}}, .icon = IconForm::file},
};

}  // namespace

bool isLight(double red, double green, double blue) {
  const auto light = [](double part) { return std::pow(part, 2.2); };  // of what sRGB stands for
  return 0.2126 * light(red) + 0.7152 * light(green) + 0.0722 * light(blue) > 0.18;
}

std::span<const Panel> knownPanels() { return kPanels; }

}  // namespace quill::freedesktop
