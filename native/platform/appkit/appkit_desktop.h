#pragma once

#include <vector>

#include "desktop.h"
#include "foundation.h"
#import "tray_manager_object.h"

namespace quill::appkit {

/// The main run loop in its common modes. Posted work runs even if this object is gone by then.
class MainQueue : public quill::MainQueue {
 public:
  bool isCurrent() const override;
  void post(std::function<void()> work) override;
  std::unique_ptr<Timer> repeat(std::chrono::nanoseconds period, std::function<void()> tick) override;
};

/// A Mac's menu bar.
class Desktop : public quill::Desktop {
 public:
  /// The one that quill::Desktop::current() answers with.
  static Desktop& current();

  MainQueue& mainQueue() override { return mainQueue_; }
  /// Null where there is no menu bar, as in a process without a window server.
  std::shared_ptr<StatusItem> makeStatusItem(double length) override;
  void present(std::shared_ptr<View> group) override;
  void prepare(Image& image) override;
  std::shared_ptr<Menu> adoptMenu(const void* menu) override;
  void openUrl(const Url& url) override;
  void terminate() override;

  /// What stands for `responder` as the target of actions, which do not own it; lives as long as the responder. Main
  /// thread.
  QuillTrayManager* objectFor(const std::weak_ptr<Responder>& responder);
  /// Makes `application` say what NSApp says now.
  void readApplication();

 private:
  struct Object {
    std::weak_ptr<Responder> responder;
    Handle<QuillTrayManager> object;
  };

  MainQueue mainQueue_;
  std::vector<Object> objects_;  // a handful at most
};

}  // namespace quill::appkit
