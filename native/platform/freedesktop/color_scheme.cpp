#include "color_scheme.h"

#include <cstdint>
#include <utility>

namespace quill::freedesktop {
namespace {

constexpr auto kPath = "/org/freedesktop/portal/desktop";
constexpr auto kInterface = "org.freedesktop.portal.Settings";
constexpr auto kNamespace = "org.freedesktop.appearance";
constexpr auto kKey = "color-scheme";
constexpr auto kChangeMatch =
    "type='signal',path='/org/freedesktop/portal/desktop',interface='org.freedesktop.portal.Settings',"
    "member='SettingChanged',arg0='org.freedesktop.appearance',arg1='color-scheme'";
constexpr std::uint32_t kPreferDark = 1;

}  // namespace

ColorScheme::ColorScheme(std::function<void(Appearance)> changed)
    : changed_(std::move(changed)), portal_("org.freedesktop.portal.Desktop", [this] { read(); }) {}

void ColorScheme::follow(sd_bus* bus) {
  bus_ = bus;
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_match_async(bus, &slot, kChangeMatch, onSettingChanged, nullptr, this) >= 0) {
    settingChanged_.reset(slot);
  }
  portal_.follow(bus);
}

void ColorScheme::leave() {
  portal_.leave();
  settingChanged_.reset();
  bus_ = nullptr;
}

int ColorScheme::onSettingChanged(sd_bus_message* message, void* self, sd_bus_error*) {
  auto& scheme = *static_cast<ColorScheme*>(self);
  const char* sender = sd_bus_message_get_sender(message);
  if (sender != nullptr && sender == scheme.portal_.get() && sd_bus_message_skip(message, "ss") > 0) {
    scheme.take(message);
  }
  return 0;
}

int ColorScheme::onRead(sd_bus_message* message, void* self, sd_bus_error*) {
  if (sd_bus_message_is_method_error(message, nullptr) == 0) static_cast<ColorScheme*>(self)->take(message);
  return 0;
}

void ColorScheme::read() {
  reading_.reset();
  if (portal_.get().empty()) return;
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_method_async(bus_, &slot, portal_.get().c_str(), kPath, kInterface, "Read", onRead, this, "ss",
                               kNamespace, kKey) >= 0) {
    reading_.reset(slot);
  }
}

void ColorScheme::take(sd_bus_message* value) {
  // Portals wrap a value that is read once more than one that has changed.
  const char* contents = nullptr;
  char type = 0;
  while (sd_bus_message_peek_type(value, &type, &contents) > 0 && type == 'v') {
    if (sd_bus_message_enter_container(value, type, contents) <= 0) return;
  }
  std::uint32_t scheme = 0;
  if (type != 'u' || sd_bus_message_read_basic(value, type, &scheme) <= 0) return;
  changed_(scheme == kPreferDark ? Appearance::dark : Appearance::light);
}

}  // namespace quill::freedesktop
