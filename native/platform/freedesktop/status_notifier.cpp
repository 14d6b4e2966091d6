#include "status_notifier.h"

#include "activation_scope.h"

namespace quill::freedesktop {

StatusNotifier::StatusNotifier(quill::Desktop& desktop, GlibMainQueue& queue, SymbolicIcons& symbolicIcons,
                               const std::string& busAddress)
    : desktop_(desktop),
      queue_(queue),
      bus_(queue, busAddress,
           {[this](sd_bus* bus) {
              item_.exportOn(bus);
              menu_.exportOn(bus);
              watcher_.follow(bus);
              colorScheme_.follow(bus);
            },
            [this] {
              item_.withdraw();
              menu_.withdraw();
              watcher_.leave();
              colorScheme_.leave();
            }}),
      item_(bus_, [this](EventType type) { clicked(type); }),
      menu_(bus_, queue),
      watcher_(queue, Item::kPath,
               [this, &symbolicIcons](bool recolours) {
                 item_.offerSymbolicIcons(recolours ? symbolicIcons.open() : nullptr);
               }),
      colorScheme_([&desktop](Appearance appearance) {
        if (desktop.application) desktop.application->effectiveAppearance = appearance;
      }) {}

void StatusNotifier::present(const StatusItem& item) {
  presented_ = item.weak_from_this();
  item_.show(item);
  menu_.show(item.announcedMenu().get());
  if (!bus_.isStarted()) bus_.start();
}

void StatusNotifier::clicked(EventType type) {
  queue_.post([&desktop = desktop_, presented = presented_, token = item_.takeActivationToken(), type] {
    const auto item = presented.lock();
    if (!item) return;
    const ActivationScope scope(token);
    desktop.deliver(type, *item);
  });
}

}  // namespace quill::freedesktop
