#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "bar_colours.h"
#include "member_callbacks.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop {
namespace {

constexpr auto kXfconf = "org.xfce.Xfconf";
constexpr auto kXfconfPath = "/org/xfce/Xfconf";
/// Of "background-style".
constexpr std::uint32_t kColour = 1;
constexpr std::uint32_t kImage = 2;

/// Themes of Debian whose bar is dark, or light, whatever the panel's dark mode is.
constexpr std::string_view kDarkThemes[] = {"Arc", "Black", "Greybird", "HighContrastInverse", "Materia", "Numix"};
constexpr std::string_view kLightThemes[] = {"Blue",  "ContrastHigh", "Green", "HighContrast",
                                             "Menta", "Traditional",  "YaruOk"};

bool isDark(const std::string& theme, bool isDarkMode) {
  const auto isNamed = [&theme](std::string_view name) { return theme.starts_with(name); };
  if (std::ranges::any_of(kDarkThemes, isNamed) || theme.ends_with("-dark") || theme.ends_with("-Dark")) return true;
  return isDarkMode && std::ranges::none_of(kLightThemes, isNamed);
}

class XfceBar final : public BarSource {
 public:
  XfceBar(Bus& bus, Told told) : bus_(bus), told_(std::move(told)) {}

  void ask() override { query(call<&XfceBar::onPanels>, "GetAllProperties", "xfce4-panel", "/panels"); }

 private:
  void query(sd_bus_message_handler_t answered, const char* method, const char* channel, const char* property) {
    sd_bus_slot* slot = nullptr;
    sd_bus_call_method_async(bus_.connection(), &slot, kXfconf, kXfconfPath, kXfconf, method, answered, this, "ss",
                             channel, property);
    query_.reset(slot);
  }

  int onPanels(sd_bus_message* reply, sd_bus_error*) {
    if (sd_bus_message_is_method_error(reply, nullptr) > 0) return 0;  // Xfconf does not run
    isDarkMode_ = isLightColour_ = false;
    std::uint32_t background = 0;
    int result = sd_bus_message_enter_container(reply, 'a', "{sv}");
    while (result > 0 && sd_bus_message_enter_container(reply, 'e', "sv") > 0) {
      readProperty(reply, background);
      result = sd_bus_message_exit_container(reply);
    }
    if (background == kColour || background == kImage) {
      told_({background == kColour && isLightColour_ ? Tone::black : Tone::white, true});
    } else {
      query(call<&XfceBar::onTheme>, "GetProperty", "xsettings", "/Net/ThemeName");
    }
    return 0;
  }

  /// Matches a property of any panel, because no property says which panel has the tray.
  void readProperty(sd_bus_message* from, std::uint32_t& background) {
    const char* name = "";
    const char* type = "";
    sd_bus_message_read_basic(from, 's', &name);
    sd_bus_message_peek_type(from, nullptr, &type);
    const std::string_view property(name);
    const std::string_view contents(type);
    if (property == "/panels/dark-mode" && contents == "b") {
      int isOn = 0;
      sd_bus_message_read(from, "v", "b", &isOn);
      isDarkMode_ = isOn != 0;
    } else if (property.ends_with("/background-style") && contents == "u") {
      std::uint32_t style = 0;
      sd_bus_message_read(from, "v", "u", &style);
      background = std::max(background, style);
    } else if (property.ends_with("/background-rgba") && contents == "av") {
      double red = 0.0, green = 0.0, blue = 0.0, alpha = 0.0;
      sd_bus_message_read(from, "v", "av", 4, "d", &red, "d", &green, "d", &blue, "d", &alpha);
      isLightColour_ = isLight(red, green, blue);
    } else {
      sd_bus_message_skip(from, "v");
    }
  }

  /// An error means that GTK's default theme is in use.
  int onTheme(sd_bus_message* reply, sd_bus_error*) {
    const char* theme = "";
    if (sd_bus_message_is_method_error(reply, nullptr) == 0) sd_bus_message_read(reply, "v", "s", &theme);
    told_({isDark(theme, isDarkMode_) ? Tone::white : Tone::black, false});
    return 0;
  }

  Bus& bus_;
  Told told_;
  SlotHandle query_;
  bool isDarkMode_ = false;
  bool isLightColour_ = false;
};

}  // namespace

std::unique_ptr<BarSource> makeXfceBar(Bus& bus, BarSource::Told told) {
  return std::make_unique<XfceBar>(bus, std::move(told));
}

}  // namespace quill::freedesktop
