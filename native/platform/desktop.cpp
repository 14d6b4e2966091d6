#include "desktop.h"

#include <utility>

namespace quill {

void Desktop::deliver(EventType type, const StatusItem& item) {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): keeps it while the action may replace the item
  const auto button = item.button();
  if (!button || (button->actionMask() & maskOf(type)) == 0) return;
  struct CurrentEvent {
    std::optional<Application>& application;
    std::optional<Event> before;
    CurrentEvent(std::optional<Application>& app, EventType now) : application(app) {
      if (application) before = std::exchange(application->currentEvent, Event{now});
    }
    ~CurrentEvent() {
      if (application) application->currentEvent = before;
    }
  } const current(application, type);
  button->action().send(nullptr);
}

}  // namespace quill
