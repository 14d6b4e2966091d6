#include "status_item.h"

#include <new>
#include <utility>

namespace quill {

Rect StatusBarButton::frame() const {
  const auto item = item_.lock();
  return item ? item->presenter_->buttonFrame() : Rect{};
}

void StatusBarButton::setFrame(Rect frame) {
  if (const auto item = item_.lock()) item->presenter_->setButtonFrame(frame);
}

void StatusBarButton::changed() {
  if (const auto item = item_.lock()) item->changed();
}

StatusItem::StatusItem(double length, MainQueue& queue, std::unique_ptr<StatusItemPresenter> presenter)
    : length_(length), queue_(queue), presenter_(std::move(presenter)) {}

std::shared_ptr<StatusItem> StatusItem::make(double length, MainQueue& queue,
                                             std::unique_ptr<StatusItemPresenter> presenter, bool withButton) {
  struct Access : StatusItem {  // make_shared needs a public constructor
    Access(double length, MainQueue& queue, std::unique_ptr<StatusItemPresenter> presenter)
        : StatusItem(length, queue, std::move(presenter)) {}
  };
  std::shared_ptr<StatusItem> item = std::make_shared<Access>(length, queue, std::move(presenter));
  if (withButton) item->button_ = std::make_shared<StatusBarButton>(item);
  item->changed();
  return item;
}

void StatusItem::setVisible(bool visible) {
  if (visible_ == visible) return;
  visible_ = visible;
  changed();
}

void StatusItem::announceMenu(std::shared_ptr<Menu> menu) {
  // Destroyed last: this may call the host, which may announce another menu.
  const auto before = std::exchange(announcedMenu_, std::move(menu));
  if (before) before->setChangeHandler({});
  if (announcedMenu_) {
    announcedMenu_->setChangeHandler([weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->changed();
    });
  }
  changed();
}

void StatusItem::changed() {
  if (presentPending_) return;
  presentPending_ = true;
  try {
    queue_.post([weak = weak_from_this()] {
      if (const auto self = weak.lock()) {
        self->presentPending_ = false;
        self->presenter_->present(*self);
      }
    });
  } catch (const std::bad_alloc&) {
    presentPending_ = false;
    throw;
  }
}

}  // namespace quill
