#include "freedesktop_desktop.h"

#include <utility>

#include "bus.h"
#include "host_application.h"
#include "icon_rendering.h"
#include "status_notifier.h"

namespace quill::freedesktop {

std::shared_ptr<StatusItem> Desktop::makeStatusItem(double length) {
  auto address = sessionBusAddress();
  if (!address) return nullptr;
  return StatusItem::make(length, mainQueue_, std::make_unique<StatusNotifier>(*this, mainQueue_, std::move(*address)));
}

void Desktop::prepare(Image& image) { image.setRendering(iconRenderingOf(image)); }

void Desktop::terminate() { terminateHost(); }

}  // namespace quill::freedesktop
