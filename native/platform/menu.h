#pragma once

#include <any>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "action.h"
#include "application.h"
#include "description.h"

namespace quill {

class Menu;

/// The menu font at a size in points.
struct Font {
  double size = 0.0;
  bool operator==(const Font&) const = default;
};
constexpr double kDefaultMenuFontSize = 0.0;  ///< the desktop's default
constexpr double kSystemFontSize = 13.0;      ///< points

/// Modifier keys of a key equivalent.
struct ModifierFlags {
  std::uint64_t rawValue = 0;
  bool operator==(const ModifierFlags&) const = default;
  constexpr ModifierFlags operator|(ModifierFlags other) const { return {rawValue | other.rawValue}; }
  constexpr bool contains(ModifierFlags other) const { return (rawValue & other.rawValue) == other.rawValue; }
};
constexpr ModifierFlags kShift{0x20000};
constexpr ModifierFlags kControl{0x40000};
constexpr ModifierFlags kOption{0x80000};
constexpr ModifierFlags kCommand{0x100000};

/// A title with one font over its whole length.
struct AttributedTitle {
  std::string text;
  Font font;
};

enum class ToggleType { none, check, radio };

/// How a menu item looks. All text is well-formed UTF-8 and may hold U+0000.
struct MenuItemLook {
  std::string title;
  std::optional<std::size_t> mnemonic;  ///< offset in bytes of the access key's character in the title
  std::string iconName;                 ///< in the icon theme; empty: none
  std::string keyEquivalent;
  ModifierFlags keyEquivalentModifierMask = kCommand;
  bool isSeparator = false;
  ToggleType toggleType = ToggleType::none;
  bool on = false;  ///< state of a check or radio item
  bool operator==(const MenuItemLook&) const = default;
};

/// An item of a menu. Main thread.
struct MenuItem : MenuItemLook {
  Action action;  ///< an item with an empty selector is shown disabled
  bool enabled = true;
  std::any representedObject;  ///< identifies the item for the action
  std::optional<AttributedTitle> attributedTitle;
  std::shared_ptr<Menu> submenu;

  static std::shared_ptr<MenuItem> make(std::string title, Selector action, std::string keyEquivalent);
  static std::shared_ptr<MenuItem> separator();

  /// Whether the user can choose the item: it is enabled, and has a submenu or an action with a live target.
  bool isChoosable() const;
  /// Sends the action if the user can choose the item.
  void choose() const;
};

/// An ordered list of items, and the look that they share. A derived class shows a menu that the host owns. Main
/// thread.
class Menu {
 public:
  using Items = std::vector<std::shared_ptr<MenuItem>>;

  Menu() = default;
  Menu(const Menu&) = delete;
  Menu& operator=(const Menu&) = delete;
  virtual ~Menu() = default;

  Font font{};
  double minimumWidth = 0.0;  ///< points
  std::optional<Appearance> appearance;

  /// A copy of the current list. A host's menu may call the host, and the host any function of this library. Therefore
  /// the caller must hold a reference to the menu during the call.
  virtual Items items() const { return items_; }
  void addItem(std::shared_ptr<MenuItem> item) { items_.push_back(std::move(item)); }

  /// Called after items of a host's menu changed. One handler; empty for none.
  void setChangeHandler(std::function<void()> handler) { changeHandler_ = std::move(handler); }

  /// Called after font, minimum width, appearance or attributed titles were set. A host's menu applies them.
  virtual void lookChanged() {}

  virtual std::string description() const { return describeObject("Menu", this); }

 protected:
  void announceChange() {
    if (changeHandler_) changeHandler_();
  }

 private:
  Items items_;
  std::function<void()> changeHandler_;
};

}  // namespace quill
