#include "theme_changes.h"

#include "member_callbacks.h"

namespace quill::freedesktop {
namespace {

/// Plasma's bar takes on a colour scheme at once.
constexpr std::chrono::milliseconds kDelay{200};

}  // namespace

void ThemeChanges::listenTo(PanelKind panel) {
  match_.reset();
  sd_bus* const bus = bus_.connection();
  if (panel != PanelKind::plasma || bus == nullptr) return;
  sd_bus_slot* slot = nullptr;
  sd_bus_match_signal_async(bus, &slot, nullptr, "/KGlobalSettings", "org.kde.KGlobalSettings", "notifyChange",
                            call<&ThemeChanges::onChange>, nullptr, this);
  match_.reset(slot);
}

int ThemeChanges::onChange(sd_bus_message*, sd_bus_error*) {
  if (!timer_.isSet()) timer_.setDueIn(kDelay);  // many signals in a row are one change
  return 0;
}

}  // namespace quill::freedesktop
