#include "status_bar_item.h"

#include "appkit_image.h"
#include "native_menu.h"

namespace quill::appkit {
namespace {

template <typename Value>
bool isNews(std::optional<Value>& told, const Value& now) {
  return told == now ? false : (told = now, true);
}

}  // namespace

void StatusBarItem::present(const StatusItem& item) {
  guarded([&] {
    if (isNews(isVisible_, item.isVisible())) [item_.get() setVisible:item.isVisible()];
    if (item.button()) show(*item.button());
  });
}

void StatusBarItem::show(StatusBarButton& button) {
  NSStatusBarButton* const native = [item_.get() button];
  QuillTrayManager* const target = desktop_.objectFor(button.action().target);
  const auto horizontal = button.contentHuggingPriority(Orientation::horizontal);
  const auto vertical = button.contentHuggingPriority(Orientation::vertical);
  const Setting setting(button.actionMask(), target, button.action().selector, button.isHidden(), horizontal, vertical);
  if (isNews(setting_, setting)) {
    [native sendActionOn:button.actionMask()];
    [native setTarget:target];
    [native setAction:toSEL(button.action().selector)];
    [native setHidden:button.isHidden()];
    [native setContentHuggingPriority:static_cast<NSLayoutPriority>(horizontal)
                       forOrientation:NSLayoutConstraintOrientationHorizontal];
    [native setContentHuggingPriority:static_cast<NSLayoutPriority>(vertical)
                       forOrientation:NSLayoutConstraintOrientationVertical];
  }

  if (!button.image()) return;  // before the first one the platform's own look stays
  const Look look(button.imagePosition(), button.isBordered(), button.isTransparent(), button.alphaValue());
  const bool isNewLook = isNews(look_, look);
  if (isNewLook) {
    [native setImagePosition:static_cast<NSCellImagePosition>(button.imagePosition())];
    [native setBordered:button.isBordered()];
    [native setTransparent:button.isTransparent()];
  }
  if (NSImage* const image = nativeImage(button.image()); image != image_) {
    image_ = image;  // kept by the button
    [native setImage:image];
    [native setNeedsDisplay:YES];
  }
  if (isNewLook) [native setAlphaValue:button.alphaValue()];
}

Rect StatusBarItem::buttonFrame() const {
  Rect frame{};
  guarded([&] { frame = toRect([[item_.get() button] frame]); });
  return frame;
}

void StatusBarItem::setButtonFrame(Rect frame) {
  guarded([&] { [[item_.get() button] setFrame:toNSRect(frame)]; });
}

void StatusBarItem::popUp(const Menu& menu, Point at) {
  guarded([&] {
    // What is chosen may replace the item and the menu.
    const auto item = item_;
    const auto native = nativeMenu(menu, desktop_);
    [native.get() popUpMenuPositioningItem:nil atLocation:NSMakePoint(at.x, at.y) inView:[item.get() button]];
  });
}

}  // namespace quill::appkit
