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

namespace quill {

class Menu;

/// The menu font at a size in points.
struct Font {
  double size = 0.0;
  bool operator==(const Font&) const = default;
};
constexpr double kDefaultMenuFontSize = 0.0;  ///< lets the platform choose
constexpr double kSystemFontSize = 13.0;      ///< the system font's size in points

/// Keys held together with a key equivalent; the values are the platform's bits.
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

/// How an entry of a menu looks. All text is well-formed UTF-8 and may hold U+0000.
struct MenuItemLook {
  std::string title;
  std::optional<std::size_t> mnemonic;  ///< byte of the title before which the access key's character begins
  std::string iconName;                 ///< of an icon theme; empty: none
  std::string keyEquivalent;
  ModifierFlags keyEquivalentModifierMask = kCommand;
  bool isSeparator = false;
  ToggleType toggleType = ToggleType::none;
  bool on = false;  ///< state of a check or radio item
  bool operator==(const MenuItemLook&) const = default;
};

/// One entry of a menu. Main thread.
struct MenuItem : MenuItemLook {
  Action action;  ///< shown disabled while its selector is empty
  bool enabled = true;
  std::any representedObject;  ///< whatever the action needs in order to tell items apart
  std::optional<AttributedTitle> attributedTitle;
  std::shared_ptr<Menu> submenu;

  static std::shared_ptr<MenuItem> make(std::string title, Selector action, std::string keyEquivalent);
  static std::shared_ptr<MenuItem> separator();

  /// Whether the user can choose it: enabled, and with someone to tell or a submenu to open.
  bool isChoosable() const;
  /// What a user's choice does: sends the action; nothing where the item cannot be chosen.
  void choose() const;
};

/// An ordered list of entries and the look they share. A host's own menu derives from it and
/// answers for its entries as they are now. Main thread.
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

  /// The entries as they are now. To answer, a menu that lives outside may call the host, which may call
  /// anything of this library: keep a reference to the menu meanwhile. The list is the caller's own, so that
  /// it stays whole whatever the host does to the menu.
  virtual Items items() const { return items_; }
  void addItem(std::shared_ptr<MenuItem> item) { items_.push_back(std::move(item)); }

  /// Called after entries of a menu that lives outside changed; one handler, empty for none.
  void setChangeHandler(std::function<void()> handler) { changeHandler_ = std::move(handler); }

  virtual std::string description() const;

 protected:
  /// For a menu that lives outside: tells that its entries changed.
  void announceChange() {
    if (changeHandler_) changeHandler_();
  }

 private:
  Items items_;
  std::function<void()> changeHandler_;
};

}  // namespace quill
