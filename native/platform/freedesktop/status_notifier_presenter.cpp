#include "status_notifier_presenter.h"

#include <utility>

#include "activation_token.h"

namespace quill::freedesktop {

StatusNotifierPresenter::StatusNotifierPresenter(quill::Desktop& desktop, GlibMainQueue& queue,
                                                 IconFolders& iconFolders, const std::string& busAddress)
    : desktop_(desktop),
      hostCalls_(std::make_shared<HostCalls>(queue)),
      bus_(queue, busAddress,
           {[this](sd_bus* bus) {
              item_.exportOn(bus);
              menu_.exportOn(bus);
              xembedTray_.follow(bus);
              registration_.follow(bus);
            },
            [this] {
              registration_.leave();
              xembedTray_.leave();
              barColours_.leave();
            }}),
      item_(bus_, queue, [this](EventType type) { clicked(type); }),
      menu_(bus_, hostCalls_, [this] { return item_.takeActivationToken(); }),
      barColours_(
          bus_, queue, [this] { item_.repaint(); }, [this](const Bar& bar) { item_.setBar(bar); }),
      xembedTray_(queue, StatusNotifierItem::kPath, [this] { item_.setBar({}); }),
      registration_(queue, StatusNotifierItem::kPath, xembedTray_, [this, &iconFolders](const Panel& panel) {
        item_.setPanel(panel, panel.icon != IconForm::pixels ? iconFolders.open() : nullptr);
        menu_.setPanel(panel);
        barColours_.follow(panel);
      }) {}

void StatusNotifierPresenter::present(const StatusItem& item) {
  presented_ = item.weak_from_this();
  item_.show(item);
  if (!bus_.isStarted()) bus_.start();
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): held, because the host may announce another menu
  const auto menu = item.announcedMenu();
  menu_.show(menu.get());
}

void StatusNotifierPresenter::clicked(EventType type) {
  auto token = item_.takeActivationToken();
  if (!hostCalls_->canTake(1)) return;
  hostCalls_->add([&desktop = desktop_, presented = presented_, token = std::move(token), type] {
    const auto item = presented.lock();
    if (item) runWithActivationToken(token, [&] { desktop.deliver(type, *item); });
  });
}

}  // namespace quill::freedesktop
