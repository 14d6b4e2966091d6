#include "tray_manager.h"

#include <algorithm>
#include <array>

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

  for (const auto& view : {mainIconView, animatedIconView}) {
    view->setFrame(animatedView->bounds());
    view->setAutoresizingMask(kWidthSizable | kHeightSizable);
    view->setImageAlignment(ImageAlignment::center);
    view->setImageScaling(ImageScaling::proportionallyUpOrDown);
    view->setAlphaValue(0.0);
    view->setHidden(true);
  }
  animatedIconView->setWantsLayer(true);

  animatedView->addSubview(mainIconView);
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
      Entry{selectors::kCreateStandardMenu,
            [](TrayManager& manager, const MenuItem*) { manager.createStandardMenu(); }},
      Entry{selectors::kCreateBasicMenu, [](TrayManager& manager, const MenuItem*) { manager.createBasicMenu(); }},
      Entry{selectors::kCreateTray, [](TrayManager& manager, const MenuItem*) { manager.createTray(); }},
      Entry{selectors::kStartAnimation, [](TrayManager& manager, const MenuItem*) { manager.startAnimation(); }},
      Entry{selectors::kStopAnimation, [](TrayManager& manager, const MenuItem*) { manager.stopAnimation(); }},
      Entry{selectors::kResetAnimation, [](TrayManager& manager, const MenuItem*) { manager.resetAnimation(); }},
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
  menu = std::move(replacement);
  if (statusItem) statusItem->announceMenu(menu);
}

}  // namespace quill
