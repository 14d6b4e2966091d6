#include "theme_changes.h"

#include <utility>

namespace quill::freedesktop {
namespace {

/// Plasma's bar takes on a colour scheme at once.
constexpr std::chrono::milliseconds kDelay{200};

constexpr auto kPlasmaMatch =
    "type='signal',path='/KGlobalSettings',interface='org.kde.KGlobalSettings',member='notifyChange'";

}  // namespace

ThemeChanges::ThemeChanges(GlibMainQueue& queue, std::function<void()> changed)
    : changed_(std::move(changed)), timer_(queue, [this] {
        isDue_ = false;
        changed_();
      }) {}

void ThemeChanges::leave() {
  match_.reset();
  bus_ = nullptr;
}

void ThemeChanges::listenTo(PanelKind panel) {
  match_.reset();
  if (panel != PanelKind::plasma) return;
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_match_async(bus_, &slot, kPlasmaMatch, onChange, nullptr, this) >= 0) match_.reset(slot);
}

int ThemeChanges::onChange(sd_bus_message*, void* self, sd_bus_error*) {
  auto& changes = *static_cast<ThemeChanges*>(self);
  if (!std::exchange(changes.isDue_, true)) changes.timer_.setDueIn(kDelay);
  return 0;
}

}  // namespace quill::freedesktop
