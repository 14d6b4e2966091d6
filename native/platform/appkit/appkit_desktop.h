#pragma once

#include <vector>

#include "desktop.h"
#include "foundation.h"
#import "tray_manager_object.h"

namespace quill::appkit {

/// Posts work and timers to the main run loop in its common modes. Posted work also runs after this object's
/// destruction.
class MainQueue : public quill::MainQueue {
 public:
  bool isCurrent() const override;
  void post(std::function<void()> work) override;
  std::unique_ptr<Timer> repeat(std::chrono::nanoseconds period, std::function<void()> tick) override;
};

/// A Mac's menu bar.
class Desktop : public quill::Desktop {
 public:
  /// The Desktop object that quill::Desktop::current() returns. Any thread.
  static Desktop& current();

  MainQueue& mainQueue() override { return mainQueue_; }
  /// Returns null without a menu bar, for example in a process without a window server. Main thread.
  std::shared_ptr<StatusItem> makeStatusItem(double length) override;
  void present(std::shared_ptr<View> group) override;
  void prepare(Image& image) override;
  std::shared_ptr<Menu> adoptMenu(const void* menu) override;
  void openUrl(const Url& url) override;
  void terminate() override;

  /// Returns the object that buttons and menu items have as their target for `responder`, or nil if `responder` is
  /// expired. This class owns the object, because AppKit does not retain targets, and releases the object after the
  /// responder's destruction. Main thread.
  QuillTrayManager* objectFor(const std::weak_ptr<Responder>& responder);
  /// Updates `application` from NSApp. Main thread.
  void readApplication();

 private:
  struct Object {
    std::weak_ptr<Responder> responder;
    Handle<QuillTrayManager> object;
  };

  MainQueue mainQueue_;
  std::vector<Object> objects_;  // one for each responder, a handful at most
};

}  // namespace quill::appkit
