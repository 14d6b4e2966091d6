#include "tray_manager.h"

#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <typeinfo>
#include <utility>

#include "description.h"
#include "log.h"
#include "no_destructor.h"
#include "report.h"
#include "text.h"

namespace quill {

namespace {

// The views' frame until setupAnimatedView gives them the icon's size.
constexpr Rect kInitialViewFrame{{0.0, 0.0}, {44.0, 44.0}};

/// The name of a type as in source code.
std::string readableName(const std::type_info& type) {
  const std::unique_ptr<char, decltype(&std::free)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr),
                                                         &std::free);
  return name ? utf8Text(name.get()) : "unknown";
}

}  // namespace

const std::shared_ptr<TrayManager>& TrayManager::shared() {
  static NoDestructor<std::shared_ptr<TrayManager>> instance(make<TrayManager>(Desktop::current()));
  return instance.get();
}

std::shared_ptr<Tray> Tray::shared() { return TrayManager::shared(); }

void logPlatformException(std::string_view what) { reportError("平台抛出异常: " + std::string(what)); }

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
  // The old menu's destructor may call the host, and the host may replace the menu or the item again. Therefore the old
  // menu is destroyed last, and the item is held until then.
  const auto before = std::exchange(menu, std::move(replacement));
  if (const auto item = statusItem) item->announceMenu(menu);
}

void TrayManager::createTray() {
  logInfo("[TrayManager] 创建状态项，长度: NSStatusItem.squareLength", kLogModule);
  const auto before = statusItem;
  try {
    makeStatusItem();
  } catch (const std::bad_alloc&) {
    statusItem = before;
    throw;
  }
}

void TrayManager::makeStatusItem() {
  statusItem = desktop_.makeStatusItem(kSquareStatusItemLength);
  if (!statusItem) {
    logError("[TrayManager] 状态项创建失败", kLogModule);
    return;
  }
  logInfo("[TrayManager] 状态项创建成功: " + statusItem->description(), kLogModule);
  logDebug("[TrayManager] 状态项按钮: " + describeOptional(button()), kLogModule);
  statusItem->setVisible(true);
  logInfo("[TrayManager] 已设置状态项可见", kLogModule);

  if (!menuItems.empty()) {
    const auto built = createMenuFromData();
    replaceMenu(built);
    logInfo("[TrayManager] 已使用动态菜单数据创建菜单，菜单项数量: " + std::to_string(built->items().size()),
            kLogModule);
  } else if (const auto kept = menu) {
    replaceMenu(kept);
    logInfo(
        "[TrayManager] 已设置菜单: " + kept->description() + "，菜单项数量: " + std::to_string(kept->items().size()),
        kLogModule);
  } else {
    replaceMenu(createBasicMenu());
    logInfo("[TrayManager] 已创建并设置基本菜单", kLogModule);
  }

  if (const auto target = button()) {
    target->sendActionOn(kClickEvents);
    target->setTarget(weak_from_this());
    target->setAction(selectors::kHandleClick);
  }
  logInfo("[TrayManager] 已设置点击事件（左键切换窗口，右键显示菜单）", kLogModule);

  if (const auto target = button()) {
    target->setHidden(false);
    target->setFrame({{}, kIconSize});
    target->setContentHuggingPriority(kRequiredLayoutPriority, Orientation::horizontal);
    target->setContentHuggingPriority(kRequiredLayoutPriority, Orientation::vertical);
  }
  logInfo("[TrayManager] 已设置按钮可见", kLogModule);
  logDebug("[TrayManager] 按钮尺寸: " + sizeText(button() ? button()->frame().size : Size{}), kLogModule);
}

void TrayManager::setClickCallback(ClickCallback callback) { clickCallback = callback; }

void TrayManager::handleClick() {
  // Held until the click is over, because the host may replace the item from its callback or from the menu.
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
  const auto item = statusItem;
  const auto event = desktop_.application ? desktop_.application->currentEvent : std::nullopt;
  const bool isRightClick =
      event && (event->type == EventType::rightMouseDown || event->type == EventType::rightMouseUp);

  if (isRightClick) {
    const auto target = button();
    if (!menu || !target) return;
    menu->appearance = effectiveAppearance();
    // The button's lower left corner, because y grows downwards.
    item->popUp(*menu, {0.0, target->bounds().size.height});
    return;
  }

  if (clickCallback) callHost(clickCallback);
  if (const auto observer = delegate.lock()) observer->trayManagerDidClick(*this);
}

void TrayManager::callHost(const std::function<void()>& callback) {
  std::string fault;
  try {
    return callback();
#ifdef __GLIBCXX__
  } catch (const abi::__forced_unwind&) {
    throw;  // pthread_cancel(3) unwinds this thread
#endif
  } catch (const std::exception& thrown) {
    const char* const text = thrown.what();
    fault = text ? utf8Text(text) : readableName(typeid(thrown));
  } catch (...) {
    // For another language's exception the C++ runtime has no object but may still return a type.
    const auto* const type = std::current_exception() ? abi::__cxa_current_exception_type() : nullptr;
    fault = type ? readableName(*type) : "unknown";
  }
  logError("[TrayManager] 宿主回调抛出异常: " + fault, kLogModule);
}

}  // namespace quill
