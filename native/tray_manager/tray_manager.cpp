#include "tray_manager.h"

#include <utility>

#include "log.h"
#include "no_destructor.h"
#include "report.h"

namespace quill {

// The views' frame until setupAnimatedView gives them the icon's size.
constexpr Rect kInitialViewFrame{{0.0, 0.0}, {44.0, 44.0}};

const std::shared_ptr<TrayManager>& TrayManager::shared() {
  static constinit NoDestructor<std::shared_ptr<TrayManager>> instance;
  auto& desktop = Desktop::current();
  return instance.get([&desktop] { return make<TrayManager>(desktop); });
}

std::shared_ptr<Tray> Tray::shared() { return TrayManager::shared(); }

void reportFault(std::string_view what) { reportError("平台抛出异常: " + std::string(what)); }

TrayManager::TrayManager(Desktop& desktop)
    : animatedView(std::make_shared<View>(kInitialViewFrame)),
      animatedIconView(std::make_shared<ImageView>(kInitialViewFrame)),
      mainIconView(std::make_shared<ImageView>(kInitialViewFrame)),
      desktop_(desktop) {}

void TrayManager::setupAnimatedView() {
  animatedView->setFrame({{}, kIconSize});
  animatedView->setWantsLayer(true);
  if (auto* layer = animatedView->layer()) layer->backgroundColor = kClearColor;
  animatedView->setHidden(true);

  const auto configure = [this](ImageView& view) {
    view.setFrame(animatedView->bounds());
    view.setAutoresizingMask(kWidthSizable | kHeightSizable);
    view.setImageAlignment(ImageAlignment::center);
    view.setImageScaling(ImageScaling::proportionallyUpOrDown);
    view.setAlphaValue(0.0);
    view.setHidden(true);
  };
  configure(*mainIconView);
  animatedView->addSubview(mainIconView);
  configure(*animatedIconView);
  animatedIconView->setWantsLayer(true);
  animatedView->addSubviewAbove(animatedIconView, mainIconView);
}

bool TrayManager::perform(Selector selector, const MenuItem* sender) {
  if (selector == selectors::kHandleClick) {
    handleClick();
  } else if (selector == selectors::kHandleMenuItemAction) {
    handleMenuItemAction(sender);
  } else if (selector == selectors::kQuitApplication) {
    quitApplication();
  } else if (selector == selectors::kUpdateAnimation) {
    updateAnimation();
  } else {
    return false;
  }
  return true;
}

std::shared_ptr<StatusBarButton> TrayManager::button() const { return statusItem ? statusItem->button() : nullptr; }

Appearance TrayManager::effectiveAppearance() const {
  return desktop_.application ? desktop_.application->effectiveAppearance : Appearance::light;
}

void TrayManager::replaceMenu(std::shared_ptr<Menu> replacement) {
  // Destroying the old menu may call the host, which may replace the menu or the item again: so the old
  // menu is destroyed last, and the item is held until then.
  const auto before = std::exchange(menu, std::move(replacement));
  if (const auto item = statusItem) item->announceMenu(menu);
}

}  // namespace quill
