#include "host_callback.h"
#include "tray_manager.h"

namespace quill {

void TrayManager::setClickCallback(ClickCallback callback) { clickCallback = callback; }

void TrayManager::handleClick() {
  const auto event = desktop_.application ? desktop_.application->currentEvent : std::nullopt;
  const bool isRightClick =
      event && (event->type == EventType::rightMouseDown || event->type == EventType::rightMouseUp);

  if (isRightClick) {
    const auto target = button();
    if (!menu || !target) return;
    menu->appearance = effectiveAppearance();
    // The button's lower left corner: y grows downwards.
    statusItem->popUp(*menu, {0.0, target->bounds().size.height});
    return;
  }

  if (clickCallback) callHost(clickCallback);
  if (const auto observer = delegate.lock()) observer->trayManagerDidClick(*this);
}

}  // namespace quill
