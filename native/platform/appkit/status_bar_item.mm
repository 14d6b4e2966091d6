#include "status_bar_item.h"

#include "appkit_image.h"
#include "native_menu.h"

namespace quill::appkit {
namespace {

/// Calls `send` if `now` differs from `sent`, the last value that was sent. After an exception of `send` the next call
/// sends again, because `sent` is unchanged.
template <typename Value, typename Send>
void sendNews(std::optional<Value>& sent, const Value& now, Send send) {
  if (sent == now) return;
  send();
  sent = now;
}

}  // namespace

StatusBarItem::~StatusBarItem() {
  // A host may replace the item from the action of the item's own button. Therefore this call retains the item until
  // the main loop's next turn in its default mode.
  guarded([this] { [item_.get() performSelector:@selector(self) withObject:nil afterDelay:0]; });
}

void StatusBarItem::present(const StatusItem& item) {
  guarded([&] {
    sendNews(isVisible_, item.isVisible(), [&] { [item_.get() setVisible:item.isVisible()]; });
    if (item.button()) show(*item.button());
  });
}

void StatusBarItem::show(StatusBarButton& button) {
  NSStatusBarButton* const native = [item_.get() button];
  QuillTrayManager* const target = desktop_.objectFor(button.action().target);
  const auto horizontal = button.contentHuggingPriority(Orientation::horizontal);
  const auto vertical = button.contentHuggingPriority(Orientation::vertical);
  const Setting setting(button.actionMask(), target, button.action().selector, button.isHidden(), horizontal, vertical);
  sendNews(setting_, setting, [&] {
    [native sendActionOn:button.actionMask()];
    [native setTarget:target];
    [native setAction:toSEL(button.action().selector)];
    [native setHidden:button.isHidden()];
    [native setContentHuggingPriority:static_cast<NSLayoutPriority>(horizontal)
                       forOrientation:NSLayoutConstraintOrientationHorizontal];
    [native setContentHuggingPriority:static_cast<NSLayoutPriority>(vertical)
                       forOrientation:NSLayoutConstraintOrientationVertical];
  });

  if (!button.image()) return;  // a button without an image keeps the platform's look
  const Look look(button.imagePosition(), button.isBordered(), button.isTransparent(), button.alphaValue());
  sendNews(look_, look, [&] {
    [native setImagePosition:static_cast<NSCellImagePosition>(button.imagePosition())];
    [native setBordered:button.isBordered()];
    [native setTransparent:button.isTransparent()];
    [native setAlphaValue:button.alphaValue()];
  });
  if (NSImage* const image = nativeImage(button.image()); image != image_) {
    [native setImage:image];
    [native setNeedsDisplay:YES];
    image_ = image;  // the button retains it
  }
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
    const auto native = nativeMenu(menu, desktop_);
    [native.get() popUpMenuPositioningItem:nil atLocation:NSMakePoint(at.x, at.y) inView:[item_.get() button]];
  });
}

}  // namespace quill::appkit
