#pragma once

#import <AppKit/AppKit.h>

#include <tuple>

#include "appkit_desktop.h"
#include "status_item.h"

namespace quill::appkit {

/// One NSStatusItem with its button. The main loop removes the item from the bar after this object's destruction. Main
/// thread.
class StatusBarItem : public StatusItemPresenter {
 public:
  StatusBarItem(Desktop& desktop, NSStatusItem* item) : desktop_(desktop), item_(item) {}
  StatusBarItem(const StatusBarItem&) = delete;
  StatusBarItem& operator=(const StatusBarItem&) = delete;
  ~StatusBarItem() override;

  void present(const StatusItem& item) override;
  void popUp(const Menu& menu, Point at) override;
  Rect buttonFrame() const override;
  void setButtonFrame(Rect frame) override;

 private:
  using Setting = std::tuple<EventMask, QuillTrayManager*, Selector, bool, double, double>;
  using Look = std::tuple<ImagePosition, bool, bool, double>;

  void show(StatusBarButton& button);

  Desktop& desktop_;
  const Handle<NSStatusItem> item_;
  // The last values that the platform accepted without an exception.
  std::optional<bool> isVisible_;
  std::optional<Setting> setting_;
  std::optional<Look> look_;
  NSImage* image_ = nil;
};

}  // namespace quill::appkit
