#include "freedesktop_desktop.h"

#include <utility>

#include "icon_rendering.h"
#include "session_bus_address.h"
#include "status_notifier_presenter.h"

namespace quill::freedesktop {

std::shared_ptr<StatusItem> Desktop::makeStatusItem(double length) {
  const auto address = sessionBusAddress();
  if (!address) return nullptr;
  return StatusItem::make(length, mainQueue_,
                          std::make_unique<StatusNotifierPresenter>(*this, mainQueue_, iconFolders_, *address));
}

void Desktop::prepare(Image& image) {
  if (auto rendering = iconRenderingOf(image)) image.setPicture(std::move(rendering));
}

}  // namespace quill::freedesktop
