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
#include "view.h"

namespace quill {

class TrayManager;

/// Told of left clicks after the host's callback. Main thread.
class TrayManagerDelegate {
 public:
  virtual ~TrayManagerDelegate() = default;
  virtual void trayManagerDidClick(TrayManager& manager) = 0;
};

/// The host's C functions. Raw addresses: nothing behind them is owned.
using ClickCallback = void (*)();
using MenuItemCallback = void (*)(const char* identifier);

/// The one object that owns everything the library shows in the bar. Its state has no lock and
/// belongs to the main thread, where the host calls all operations but the animation's.
class TrayManager : public Responder, public std::enable_shared_from_this<TrayManager> {
 public:
  /// A menu item as the host describes it.
  struct MenuItemData {
    std::string id;  ///< told to the host when the item is chosen; may be empty or hold U+0000
    std::string title;
    bool enabled;
    std::string keyEquivalent;  ///< shortcut text such as "Cmd+K"; empty: none
  };

  /// The tray manager of the process, made on first use and never destroyed. Any thread.
  static const std::shared_ptr<TrayManager>& shared();

  TrayManager(const TrayManager&) = delete;
  TrayManager& operator=(const TrayManager&) = delete;

  bool perform(Selector selector, const MenuItem* sender) override;

 private:
  virtual void setupAnimatedView();

 public:
  /// Puts a further item into the bar, in place of the earlier one, and gives it the tray menu.
  virtual void createTray();
  /// Shows a template copy of `image`; the image itself is not kept.
  virtual void setMainIcon(const Image& image);
  /// Takes a menu that the host built as the tray menu and gives it the library's look.
  virtual void setMenu(std::shared_ptr<Menu> hostMenu);
  /// Replaces the described menu; built at once where a status item exists, else when it is created.
  virtual void setMenuItems(std::vector<MenuItemData> items);
  /// Null clears it.
  virtual void setMenuItemCallback(MenuItemCallback callback);

 private:
  /// Gives `item` the key equivalent that `shortcut` describes; leaves it alone where that has no key.
  virtual void parseAndSetShortcut(const std::string& shortcut, MenuItem& item);
  virtual std::shared_ptr<Menu> createMenuFromData();
  /// Tells the host which item was chosen.
  virtual void handleMenuItemAction(const MenuItem* sender);

 public:
  /// An empty menu with the look that all of the library's own menus share.
  virtual std::shared_ptr<Menu> createStandardMenu();
  /// Settings and quit: the menu of a host that gave none.
  virtual std::shared_ptr<Menu> createBasicMenu();

 private:
  virtual void quitApplication();

 public:
  // The frame animation. Any thread: off the main thread the caller waits until the main thread has
  // done the work.

  /// Appends a template copy of `image`; a running animation goes on to it.
  virtual void addAnimationFrame(const Image& image);

 private:
  virtual void addAnimationFrameSync(const Image& image);

 public:
  /// Plays the frames once, then shows the main icon again.
  virtual void startAnimation();

 private:
  virtual void startAnimationSync();
  virtual void stopAnimationSync();

 public:
  virtual void stopAnimation();
  /// Stops, and forgets the frames.
  virtual void resetAnimation();

 private:
  /// The button's action: the tray menu for a right click, the host's callback for any other.
  virtual void handleClick();

 public:
  /// Null clears it.
  virtual void setClickCallback(ClickCallback callback);

 private:
  /// One tick. Off the main thread it posts itself there.
  virtual void updateAnimation();

 protected:
  /// `desktop` must outlive the manager.
  explicit TrayManager(Desktop& desktop);

  /// Construction in two steps, since the second calls an overridable operation.
  template <typename Manager>
  static std::shared_ptr<Manager> make(Desktop& desktop) {
    struct Access : Manager {
      explicit Access(Desktop& desktop) : Manager(desktop) {}
    };
    std::shared_ptr<Manager> manager = std::make_shared<Access>(desktop);
    static_cast<TrayManager&>(*manager).setupAnimatedView();
    return manager;
  }

  // The state; derived classes may look. Every change of `menu` goes through replaceMenu.
  std::shared_ptr<StatusItem> statusItem;
  std::optional<Image> mainIcon;
  const std::shared_ptr<View> animatedView;
  const std::shared_ptr<ImageView> animatedIconView;
  const std::shared_ptr<ImageView> mainIconView;
  std::vector<Image> animationFrames;
  std::int64_t currentFrameIndex = 0;     // the frame that the next tick shows
  std::unique_ptr<Timer> animationTimer;  // holds the manager for as long as it is here
  bool isAnimating = false;
  std::weak_ptr<TrayManagerDelegate> delegate;
  std::shared_ptr<Menu> menu;
  ClickCallback clickCallback = nullptr;
  std::vector<MenuItemData> menuItems;
  MenuItemCallback menuItemCallback = nullptr;

 private:
  /// The status item's button; null without an item or a button.
  std::shared_ptr<StatusBarButton> button() const;
  /// A copy to be drawn in the bar's own colour at the icon's size, ready to be shown.
  Image templateCopy(const Image& image);
  /// The application's; light where there is no application.
  Appearance effectiveAppearance() const;
  /// The main-thread rule: runs `body` here on the main thread, else there, and waits for it.
  void onMainThread(const std::function<void(TrayManager&)>& body);
  /// The only way to change `menu`: the bar is told as well, which opens what it was told last.
  void replaceMenu(std::shared_ptr<Menu> replacement);

  Desktop& desktop_;
};

/// Names under which platform objects call the manager's operations.
namespace selectors {
constexpr Selector kHandleClick = "handleClick";
constexpr Selector kHandleMenuItemAction = "handleMenuItemAction:";
constexpr Selector kQuitApplication = "quitApplication";
constexpr Selector kUpdateAnimation = "updateAnimation";
}  // namespace selectors

/// The module that all of the library's log lines name.
constexpr std::string_view kLogModule = "TrayManager";

/// Width and height of the icon and of its button, in points.
constexpr Size kIconSize{22.0, 22.0};

}  // namespace quill
