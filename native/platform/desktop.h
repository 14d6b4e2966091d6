#pragma once

#include <memory>
#include <optional>

#include "application.h"
#include "main_queue.h"
#include "status_item.h"
#include "url.h"

namespace quill {

/// What the library needs of the desktop. Main thread, unless said otherwise.
class Desktop {
 public:
  /// The process's desktop, made on first use and never destroyed. Defined by the one desktop that is linked
  /// in. Any thread.
  static Desktop& current();

  Desktop() = default;
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;
  virtual ~Desktop() = default;

  /// Empty where there is no application object.
  std::optional<Application> application;

  virtual MainQueue& mainQueue() = 0;
  /// A further item in the bar; null if there can be none.
  virtual std::shared_ptr<StatusItem> makeStatusItem(double length) = 0;
  /// Brings the desktop's own views, where it has any, up to date with `group` and its subviews, soon. Any thread.
  virtual void present(std::shared_ptr<View> group) = 0;
  /// Replaces the template image's picture by the form that the bar reads. Any thread.
  virtual void prepare(Image& image) = 0;
  /// A menu that follows a menu object of the host and keeps that alive. Null for a null pointer and for an object of
  /// another type.
  virtual std::shared_ptr<Menu> adoptMenu(const void* menu) = 0;
  /// Opens the URL with the default handler for its scheme, without waiting for it. Any thread.
  virtual void openUrl(const Url& url) = 0;
  /// Asks the application to quit; it may refuse.
  virtual void terminate() = 0;

  /// A mouse event on `item`: the button sends its action if its mask has the event, which is the application's current
  /// event meanwhile.
  void deliver(EventType type, const StatusItem& item);
};

}  // namespace quill
