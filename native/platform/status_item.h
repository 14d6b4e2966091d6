#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "action.h"
#include "application.h"
#include "description.h"
#include "main_queue.h"
#include "menu.h"
#include "view.h"

namespace quill {

class StatusItem;

/// As wide as the bar is high.
constexpr double kSquareStatusItemLength = -2.0;
/// The mouse events of a left and of a right click.
constexpr EventMask kClickEvents = maskOf(EventType::leftMouseUp) | maskOf(EventType::rightMouseUp);
constexpr double kRequiredLayoutPriority = 1000.0;

enum class ImagePosition : int { none = 0, imageOnly = 1 };
enum class Orientation : int { horizontal = 0, vertical = 1 };

/// The part of a status item that shows the icon and receives the clicks. It may outlive its item. Main thread.
class StatusBarButton : public View {
 public:
  explicit StatusBarButton(std::weak_ptr<StatusItem> item) : View(Rect{}), item_(std::move(item)) {}

  /// Read from the bar at each call, because the bar lays the button out. Empty once the item is gone.
  Rect frame() const override;
  /// Takes effect at once.
  void setFrame(Rect frame) override;

  const std::optional<Image>& image() const { return image_; }
  void setImage(const std::optional<Image>& image) { assign(image_, image); }
  ImagePosition imagePosition() const { return imagePosition_; }
  void setImagePosition(ImagePosition position) { assign(imagePosition_, position); }
  bool isBordered() const { return bordered_; }
  void setBordered(bool bordered) { assign(bordered_, bordered); }
  bool isTransparent() const { return transparent_; }
  void setTransparent(bool transparent) { assign(transparent_, transparent); }
  void setNeedsDisplay(bool needsDisplay) {
    if (needsDisplay) changed();
  }
  /// The icon alone, without a frame around it.
  void showImageOnly() {
    setImagePosition(ImagePosition::imageOnly);
    setBordered(false);
    setTransparent(false);
  }

  double contentHuggingPriority(Orientation orientation) const { return hugging_[static_cast<int>(orientation)]; }
  void setContentHuggingPriority(double priority, Orientation orientation) {
    hugging_[static_cast<int>(orientation)] = priority;
  }

  EventMask actionMask() const { return actionMask_; }
  void sendActionOn(EventMask mask) { actionMask_ = mask; }
  const Action& action() const { return action_; }
  void setTarget(std::weak_ptr<Responder> target) { action_.target = std::move(target); }
  void setAction(Selector selector) { action_.selector = selector; }

  std::string description() const { return describeObject("StatusBarButton", this); }

 protected:
  void changed() override;

 private:
  const std::weak_ptr<StatusItem> item_;
  std::optional<Image> image_;
  ImagePosition imagePosition_ = ImagePosition::none;
  bool bordered_ = true;
  bool transparent_ = false;
  double hugging_[2] = {250.0, 250.0};
  EventMask actionMask_ = maskOf(EventType::leftMouseUp);
  Action action_;
};

/// Shows one status item. Made by a desktop, owned by the item. Main thread.
class StatusItemPresenter {
 public:
  virtual ~StatusItemPresenter() = default;
  /// Updates the bar from the whole item. Called once in an iteration of the main loop, however many settings have
  /// changed.
  virtual void present(const StatusItem& item) = 0;
  /// Opens `menu` at a point of the button, whose origin is its upper left corner.
  virtual void popUp(const Menu& menu, Point at) = 0;

  /// The button's current frame in the bar. A bar without a layout of its own returns the frame that was set last.
  virtual Rect buttonFrame() const { return buttonFrame_; }
  virtual void setButtonFrame(Rect frame) { buttonFrame_ = frame; }

 private:
  Rect buttonFrame_{};
};

/// One item in the system bar, removed when the object is destroyed. Main thread.
class StatusItem : public std::enable_shared_from_this<StatusItem> {
 public:
  /// `queue` must outlive the item. An item without a button shows nothing and takes no clicks.
  static std::shared_ptr<StatusItem> make(double length, MainQueue& queue,
                                          std::unique_ptr<StatusItemPresenter> presenter, bool withButton = true);
  StatusItem(const StatusItem&) = delete;
  StatusItem& operator=(const StatusItem&) = delete;

  double length() const { return length_; }
  bool isVisible() const { return visible_; }
  void setVisible(bool visible);
  /// Null for an item without a button.
  const std::shared_ptr<StatusBarButton>& button() const { return button_; }

  /// Announces the menu that a right click opens, because many bars read a menu before a click. The item follows the
  /// menu's changes. Null for none.
  void announceMenu(std::shared_ptr<Menu> menu);
  const std::shared_ptr<Menu>& announcedMenu() const { return announcedMenu_; }

  void popUp(const Menu& menu, Point at) { presenter_->popUp(menu, at); }

  std::string description() const { return describeObject("StatusItem", this); }

 protected:
  StatusItem(double length, MainQueue& queue, std::unique_ptr<StatusItemPresenter> presenter);

 private:
  friend StatusBarButton;
  void changed();

  double length_;
  MainQueue& queue_;
  std::unique_ptr<StatusItemPresenter> presenter_;
  std::shared_ptr<StatusBarButton> button_;
  std::shared_ptr<Menu> announcedMenu_;
  bool visible_ = true;
  bool presentPending_ = false;
};

}  // namespace quill
