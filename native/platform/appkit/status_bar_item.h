#pragma once

#import <AppKit/AppKit.h>

#include "appkit_desktop.h"
#include "status_item.h"
#include "told.h"

namespace quill::appkit {

/// One status item, with its button. It leaves the bar with this object. Main thread.
class StatusBarItem : public StatusItemPresenter {
 public:
  StatusBarItem(Desktop& desktop, NSStatusItem* item) : desktop_(desktop), item_(item) {}

  void present(const StatusItem& item) override;
  void popUp(const Menu& menu, Point at) override;

 private:
  void show(const StatusBarButton& button);

  Desktop& desktop_;
  const Handle<NSStatusItem> item_;
  Told<bool> visible_, hidden_, bordered_, transparent_;
  Told<EventMask> mask_;
  Told<QuillTrayManager*> target_;
  Told<Selector> action_;
  Told<Rect> frame_;
  Told<double> horizontalHugging_, verticalHugging_, alpha_;
  Told<ImagePosition> imagePosition_;
  Told<NSImage*> image_;
};

}  // namespace quill::appkit
