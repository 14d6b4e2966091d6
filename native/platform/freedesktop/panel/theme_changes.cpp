#include "theme_changes.h"

#include "member_callbacks.h"

namespace quill::freedesktop {

void ThemeChanges::listenTo(const Panel& panel) {
  match_.reset();
  delay_ = panel.themeDelay;
  sd_bus* const bus = bus_.connection();
  if (panel.themeSignal == nullptr || bus == nullptr) return;
  sd_bus_slot* slot = nullptr;
  sd_bus_add_match_async(bus, &slot, panel.themeSignal, call<&ThemeChanges::onChange>, nullptr, this);
  match_.reset(slot);
}

int ThemeChanges::onChange(sd_bus_message*, sd_bus_error*) {
  if (!timer_.isSet()) timer_.setDueIn(delay_);  // many signals in a row are one change
  return 0;
}

}  // namespace quill::freedesktop
