#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "desktop.h"
#include "image.h"
#include "menu.h"
#include "status_item.h"
#include "tray.h"
#include "view.h"

namespace quill {

class TrayManager;

/// Observes left clicks; called after the host's callback. Main thread.
class TrayManagerDelegate {
 public:
  virtual ~TrayManagerDelegate() = default;
  virtual void trayManagerDidClick(TrayManager& manager) = 0;
};

/// The host's C functions.
using ClickCallback = void (*)();
using MenuItemCallback = void (*)(const char* identifier);

/// Owns everything that the library shows in the bar. The manager has no lock: all operations but the animation's must
/// be called on the main thread.
class TrayManager : public Tray, public std::enable_shared_from_this<TrayManager> {
 public:
  /// A menu item as the host describes it.
  struct MenuItemData {
    std::string id;  ///< passed to the host when the item is chosen; may be empty or hold U+0000
    std::string title;
    bool enabled;
    std::string keyEquivalent;  ///< shortcut text such as "Cmd+K"; empty: none
  };

  /// The process's tray manager, made on first use and never destroyed. Any thread.
  static const std::shared_ptr<TrayManager>& shared();

  TrayManager(const TrayManager&) = delete;
  TrayManager& operator=(const TrayManager&) = delete;

  bool perform(Selector selector, const MenuItem* sender) override;

  // The order of the virtual operations is fixed, so that public and private ones alternate.

 private:
  virtual void setupAnimatedView();

 public:
  /// Replaces the status item by a new one and chooses the tray menu.
  void createTray() override;
  /// Shows a template copy of `image`.
  void setMainIcon(const Image& image) override;
  /// Makes `hostMenu` the tray menu and gives it the library's look.
  void setMenu(std::shared_ptr<Menu> hostMenu) override;
  /// Replaces the records. Builds the menu if there is a status item; otherwise createTray builds it.
  virtual void setMenuItems(std::vector<MenuItemData> items);
  /// Null clears it.
  virtual void setMenuItemCallback(MenuItemCallback callback);

 private:
  /// Sets the key equivalent of `item`, unless `shortcut` names no key.
  virtual void parseAndSetShortcut(const std::string& shortcut, MenuItem& item);
  virtual std::shared_ptr<Menu> createMenuFromData();
  /// Passes the chosen item's identifier to the host.
  virtual void handleMenuItemAction(const MenuItem* sender);

 public:
  /// An empty menu with the look of the library's own menus.
  std::shared_ptr<Menu> createStandardMenu() override;
  /// Settings and quit, for a host that set no menu.
  std::shared_ptr<Menu> createBasicMenu() override;

 private:
  virtual void quitApplication();

 public:
  // Any thread may call the animation's operations. The main thread does the work while the caller waits.

  /// Appends a template copy of `image`, even while the animation runs.
  void addAnimationFrame(const Image& image) override;

 private:
  virtual void addAnimationFrameSync(const Image& image);

 public:
  /// Plays the frames once, then shows the main icon again.
  void startAnimation() override;

 private:
  virtual void startAnimationSync();
  virtual void stopAnimationSync();

 public:
  void stopAnimation() override;
  /// Stops the animation and removes the frames.
  void resetAnimation() override;

 private:
  /// The button's action: a right click opens the tray menu, any other one calls the host.
  virtual void handleClick();

 public:
  /// Null clears it.
  void setClickCallback(ClickCallback callback) override;

 private:
  /// A tick of the timer. On another thread it posts itself to the main thread.
  virtual void updateAnimation();

 protected:
  /// `desktop` must outlive the manager.
  explicit TrayManager(Desktop& desktop);

  /// Calls setupAnimatedView after the constructor, because a subclass may override it.
  template <typename Manager>
  static std::shared_ptr<Manager> make(Desktop& desktop) {
    struct Access : Manager {
      explicit Access(Desktop& desktop) : Manager(desktop) {}
    };
    std::shared_ptr<Manager> manager = std::make_shared<Access>(desktop);
    static_cast<TrayManager&>(*manager).setupAnimatedView();
    desktop.present(manager->animatedView);
    return manager;
  }

  // Only replaceMenu changes `menu`.
  std::shared_ptr<StatusItem> statusItem;
  std::optional<Image> mainIcon;
  const std::shared_ptr<View> animatedView;
  const std::shared_ptr<ImageView> animatedIconView;
  const std::shared_ptr<ImageView> mainIconView;
  std::vector<Image> animationFrames;
  std::int64_t currentFrameIndex = 0;     // shown by the next tick
  std::unique_ptr<Timer> animationTimer;  // holds a reference to the manager
  bool isAnimating = false;
  std::weak_ptr<TrayManagerDelegate> delegate;
  std::shared_ptr<Menu> menu;
  ClickCallback clickCallback = nullptr;
  std::vector<MenuItemData> menuItems;
  MenuItemCallback menuItemCallback = nullptr;

 private:
  /// Null without an item or a button.
  std::shared_ptr<StatusBarButton> button() const;
  /// A template copy at the icon's size, prepared for the bar.
  Image templateCopy(const Image& image);
  /// The application's appearance; light without an application.
  Appearance effectiveAppearance() const;
  /// Runs `body` on the main thread, then `afterwards` on the caller's (see MainQueue::run).
  void onMainThread(
      const std::function<void(TrayManager&)>& body, std::function<void()> afterwards = [] {});
  /// Changes `menu` and announces it to the bar.
  void makeStatusItem();
  void replaceMenu(std::shared_ptr<Menu> replacement);

  /// Calls the host and logs an exception, because the C event loop that called the manager cannot handle one.
  static void callHost(const std::function<void()>& callback);

  Desktop& desktop_;
};

/// The operations that the button, menu items and the timer call by name.
namespace selectors {
constexpr Selector kHandleClick = "handleClick";
constexpr Selector kHandleMenuItemAction = "handleMenuItemAction:";
constexpr Selector kQuitApplication = "quitApplication";
constexpr Selector kUpdateAnimation = "updateAnimation";
}  // namespace selectors

/// The module of all log lines.
constexpr std::string_view kLogModule = "TrayManager";

/// Width and height of the icon and of its button, in points.
constexpr Size kIconSize{22.0, 22.0};

}  // namespace quill
