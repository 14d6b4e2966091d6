#include "tray_manager.h"

#include <algorithm>
#include <array>
#include <utility>

#include "no_destructor.h"

namespace quill {

namespace {

// Construction gives the views this frame; setupAnimatedView cuts them down to the icon's size.
constexpr Rect kInitialViewFrame{{0.0, 0.0}, {44.0, 44.0}};

}  // namespace

const std::shared_ptr<TrayManager>& TrayManager::shared() {
  static constinit NoDestructor<std::shared_ptr<TrayManager>> instance;
  auto& desktop = Desktop::current();
  return instance.get([&desktop] { return make<TrayManager>(desktop); });
}

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
  animatedView->addSubview(animatedIconView, OrderingMode::above, mainIconView.get());
}

bool TrayManager::perform(Selector selector, const MenuItem* sender) {
  struct Entry {
    Selector selector;
    void (*run)(TrayManager& manager, const MenuItem* sender);
  };
  static constexpr std::array table{
      Entry{selectors::kHandleClick, [](TrayManager& manager, const MenuItem*) { manager.handleClick(); }},
      Entry{selectors::kHandleMenuItemAction,
            [](TrayManager& manager, const MenuItem* item) { manager.handleMenuItemAction(item); }},
      Entry{selectors::kQuitApplication, [](TrayManager& manager, const MenuItem*) { manager.quitApplication(); }},
      Entry{selectors::kUpdateAnimation, [](TrayManager& manager, const MenuItem*) { manager.updateAnimation(); }},
  };
  const auto entry =
      std::find_if(table.begin(), table.end(), [&](const Entry& candidate) { return candidate.selector == selector; });
  if (entry == table.end()) return false;
  entry->run(*this, sender);
  return true;
}

std::shared_ptr<StatusBarButton> TrayManager::button() const { return statusItem ? statusItem->button() : nullptr; }

Appearance TrayManager::effectiveAppearance() const {
  return desktop_.application ? desktop_.application->effectiveAppearance : Appearance::light;
}

void TrayManager::replaceMenu(std::shared_ptr<Menu> replacement) {
  // What the change lets go may call the host as it ends, and the host may replace the menu or the item again:
  // the old menu goes last, and the item stays until then.
  const auto before = std::exchange(menu, std::move(replacement));
  if (const auto item = statusItem) item->announceMenu(menu);
}

}  // namespace quill
