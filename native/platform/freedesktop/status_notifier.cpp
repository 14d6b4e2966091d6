#include "status_notifier.h"

#include <utility>

namespace quill::freedesktop {

StatusNotifier::StatusNotifier(quill::Desktop& desktop, GlibMainQueue& queue, std::string busAddress)
    : desktop_(desktop),
      queue_(queue),
      bus_(queue, std::move(busAddress),
           {[this](sd_bus* bus) {
              item_.exportOn(bus);
              menu_.exportOn(bus);
              watcher_.follow(bus);
            },
            [this] {
              item_.withdraw();
              menu_.withdraw();
              watcher_.leave();
            }}),
      item_(bus_, [this](EventType type) { clicked(type); }),
      menu_(bus_, queue),
      watcher_(queue, Item::kPath) {}

void StatusNotifier::present(const StatusItem& item) {
  presented_ = item.weak_from_this();
  item_.show(item);
  menu_.show(item.announcedMenu());
  if (!bus_.isStarted()) bus_.start();
}

void StatusNotifier::clicked(EventType type) {
  queue_.post([&desktop = desktop_, presented = presented_, type] {
    if (const auto item = presented.lock()) desktop.deliver(type, *item);
  });
}

}  // namespace quill::freedesktop
