#include "status_item.h"

#include <utility>

#include "description.h"

namespace quill {

void StatusBarButton::setNeedsDisplay(bool needsDisplay) {
  if (needsDisplay) changed();
}

void StatusBarButton::changed() {
  if (onChange_) onChange_();
}

std::string StatusBarButton::description() const { return describeObject("StatusBarButton", this); }

StatusItem::StatusItem(double length, MainQueue& queue, std::unique_ptr<StatusItemPresenter> presenter)
    : length_(length), queue_(queue), presenter_(std::move(presenter)) {}

std::shared_ptr<StatusItem> StatusItem::make(double length, MainQueue& queue,
                                             std::unique_ptr<StatusItemPresenter> presenter, bool withButton) {
  struct Access : StatusItem {  // make_shared needs a public constructor
    Access(double length, MainQueue& queue, std::unique_ptr<StatusItemPresenter> presenter)
        : StatusItem(length, queue, std::move(presenter)) {}
  };
  std::shared_ptr<StatusItem> item = std::make_shared<Access>(length, queue, std::move(presenter));
  if (withButton) {
    item->button_ = std::make_shared<StatusBarButton>(Rect{}, [weak = std::weak_ptr(item)] {
      if (const auto self = weak.lock()) self->changed();
    });
  }
  item->changed();
  return item;
}

// The menu keeps its change handler: by now it may be that of another item, and ours holds this one weakly.
StatusItem::~StatusItem() = default;

void StatusItem::setVisible(bool visible) {
  if (visible_ == visible) return;
  visible_ = visible;
  changed();
}

void StatusItem::announceMenu(std::shared_ptr<Menu> menu) {
  // Goes last: its end may call the host, and the host may announce another menu.
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
  queue_.post([weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      self->presentPending_ = false;
      self->presenter_->present(*self);
    }
  });
}

std::string StatusItem::description() const { return describeObject("StatusItem", this); }

}  // namespace quill
