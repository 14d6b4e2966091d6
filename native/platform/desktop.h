#pragma once

#include <memory>
#include <optional>

#include "application.h"
#include "main_queue.h"
#include "status_item.h"
#include "url.h"

namespace quill {

/// The one seam between the library and the machine's desktop. Main thread, unless said otherwise.
class Desktop {
 public:
  /// The desktop of this process, made on first use and never destroyed. Defined by the one desktop
  /// that is linked in. Any thread.
  static Desktop& current();

  Desktop() = default;
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;
  virtual ~Desktop() = default;

  /// Empty where there is no application object.
  std::optional<Application> application;

  virtual MainQueue& mainQueue() = 0;
  /// A further place in the bar; null where this machine has none.
  virtual std::shared_ptr<StatusItem> makeStatusItem(double length) = 0;
  /// Turns a template image's picture into the form that the bar reads, once; what was decoded goes with
  /// the last image that still holds it. Any thread.
  virtual void prepare(Image& image) = 0;
  /// A host's own menu object as a menu that follows it and keeps it alive; null for a null pointer
  /// and for what the platform can tell is no menu.
  virtual std::shared_ptr<Menu> adoptMenu(const void* menu) = 0;
  /// Hands the URL to the user's default handler for its scheme, without waiting for it. Any thread.
  virtual void openUrl(const Url& url) = 0;
  /// Asks the application to end; it may refuse.
  virtual void terminate() = 0;

  /// What a mouse event on `item` does: the button sends its action where its mask holds the event,
  /// which is the application's current one meanwhile.
  void deliver(EventType type, const StatusItem& item);
};

}  // namespace quill
