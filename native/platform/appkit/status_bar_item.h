#pragma once

#import <AppKit/AppKit.h>

#include <tuple>

#include "appkit_desktop.h"
#include "status_item.h"

namespace quill::appkit {

/// One status item, with its button. It leaves the bar soon after this object is gone. Main thread.
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
  // The settings that the platform accepted last.
  std::optional<bool> isVisible_;
  std::optional<Setting> setting_;
  std::optional<Look> look_;
  NSImage* image_ = nil;
};

}  // namespace quill::appkit
