#include "status_bar_item.h"

#include "appkit_image.h"
#include "geometry_conversion.h"
#include "guard.h"
#include "native_menu.h"

namespace quill::appkit {

void StatusBarItem::present(const StatusItem& item) {
  guarded([&] {
    if (visible_.isNews(item.isVisible())) [item_.get() setVisible:item.isVisible()];
    if (!item.button()) return;
    show(*item.button());
    const auto frame = toRect([[item_.get() button] frame]);  // what the bar made of it
    if (frame_.isNews(frame)) item.button()->setFrame(frame);
  });
}

void StatusBarItem::show(const StatusBarButton& button) {
  NSStatusBarButton* const native = [item_.get() button];
  if (mask_.isNews(button.actionMask())) [native sendActionOn:button.actionMask()];
  QuillTrayManager* const target = desktop_.objectFor(button.action().target);
  if (target_.isNews(target)) [native setTarget:target];
  if (action_.isNews(button.action().selector)) [native setAction:toSEL(button.action().selector)];
  if (hidden_.isNews(button.isHidden())) [native setHidden:button.isHidden()];
  if (frame_.isNews(button.frame())) [native setFrame:toNSRect(button.frame())];
  const auto horizontal = button.contentHuggingPriority(Orientation::horizontal);
  if (horizontalHugging_.isNews(horizontal)) {
    [native setContentHuggingPriority:static_cast<NSLayoutPriority>(horizontal)
                       forOrientation:NSLayoutConstraintOrientationHorizontal];
  }
  const auto vertical = button.contentHuggingPriority(Orientation::vertical);
  if (verticalHugging_.isNews(vertical)) {
    [native setContentHuggingPriority:static_cast<NSLayoutPriority>(vertical)
                       forOrientation:NSLayoutConstraintOrientationVertical];
  }

  if (!button.image()) return;  // before the first one the platform's own look stays
  if (imagePosition_.isNews(button.imagePosition())) {
    [native setImagePosition:static_cast<NSCellImagePosition>(button.imagePosition())];
  }
  if (bordered_.isNews(button.isBordered())) [native setBordered:button.isBordered()];
  if (transparent_.isNews(button.isTransparent())) [native setTransparent:button.isTransparent()];
  if (NSImage* const image = nativeImage(button.image()); image_.isNews(image)) {
    [native setImage:image];
    [native setNeedsDisplay:YES];
  }
  if (alpha_.isNews(button.alphaValue())) [native setAlphaValue:button.alphaValue()];
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
