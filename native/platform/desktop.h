#pragma once

#include <memory>
#include <optional>

#include "application.h"
#include "main_queue.h"
#include "status_item.h"
#include "url.h"

namespace quill {

/// The platform backend: the system bar, menus, URLs. Main thread, unless a declaration says otherwise.
class Desktop {
 public:
  /// The process's desktop, made on first use and never destroyed. The one backend that is linked in defines this
  /// function. Any thread.
  static Desktop& current();

  Desktop() = default;
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;
  virtual ~Desktop() = default;

  /// Empty if the process has no application object.
  std::optional<Application> application;

  virtual MainQueue& mainQueue() = 0;
  /// Adds an item to the bar. Null if the machine offers no bar.
  virtual std::shared_ptr<StatusItem> makeStatusItem(double length) = 0;
  /// Updates the platform's own views from `group` and its subviews, in a later turn of the main loop. Backends without
  /// views ignore it. Any thread.
  virtual void present(std::shared_ptr<View> group) = 0;
  /// Replaces the picture of a template image by the form that the bar reads. Any thread.
  virtual void prepare(Image& image) = 0;
  /// Returns a menu that follows a menu object of the host and holds a reference to it. Returns null for a null pointer
  /// and for an object of another type.
  virtual std::shared_ptr<Menu> adoptMenu(const void* menu) = 0;
  /// Opens the URL with the default handler for its scheme, without waiting for it. Any thread.
  virtual void openUrl(const Url& url) = 0;
  /// Asks the application to quit. The application may refuse.
  virtual void terminate() = 0;

  /// Delivers a mouse event to the button of `item`. Sets the application's current event during the call. The button
  /// sends its action if its action mask contains the event.
  void deliver(EventType type, const StatusItem& item);
};

}  // namespace quill
