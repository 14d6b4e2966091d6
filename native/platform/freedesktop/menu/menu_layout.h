#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "menu.h"
#include "panel.h"

namespace quill::freedesktop {

/// The protocol's properties of a menu entry.
enum class EntryProperty : unsigned {
  type,
  label,
  enabled,
  visible,
  shortcut,
  toggleType,
  toggleState,
  childrenDisplay,
  iconName,
};
constexpr unsigned kEntryProperties = 9;

/// The property's name in the protocol.
std::string_view nameOf(EntryProperty property);
std::optional<EntryProperty> entryPropertyNamed(std::string_view name);

/// Modifier names, then the key.
using KeyNames = std::vector<std::string>;
using EntryValue = std::variant<bool, std::int32_t, std::string, KeyNames>;

/// The value that a panel assumes for a property that is not sent.
EntryValue defaultOf(EntryProperty property);

using EntryProperties = std::set<EntryProperty>;

/// An item of a menu or of a menu below it. A list of them holds each item before the items below it.
struct FlatItem {
  std::shared_ptr<const MenuItem> item;
  int depth;  ///< from 1 on
};
using FlatItems = std::vector<FlatItem>;

/// One entry as panels read it.
struct MenuEntry {
  std::shared_ptr<const MenuItem> item;  ///< null for the root
  int depth = 0;                         ///< 0 for the root
  std::size_t end = 0;                   ///< one past the last entry below it

  MenuItemLook look;
  bool isChoosable = true;
  bool hasSubmenu = false;

  /// The value for `panel`; empty if it is the default.
  std::optional<EntryValue> value(EntryProperty property, const Panel& panel) const;
};

/// A menu and all menus below it as one list, each entry before the entries below it. The layout numbers its entries
/// with ids of its own. The entry at 0 is the root.
class MenuLayout {
 public:
  static constexpr std::int32_t kRootId = 0;

  /// `firstId` is the id of the first entry after the root. The layout holds references to the items, but none to the
  /// menu.
  MenuLayout(const FlatItems& items, std::int32_t firstId);

  const std::vector<MenuEntry>& entries() const { return entries_; }
  std::int32_t idOf(std::size_t index) const {
    return index == 0 ? kRootId : firstId_ + static_cast<std::int32_t>(index - 1);
  }
  /// Empty if no entry has the id.
  std::optional<std::size_t> indexOf(std::int32_t id) const;
  /// One past the last entry's id.
  std::int64_t nextId() const { return firstId_ + static_cast<std::int64_t>(entries_.size()) - 1; }

  struct Change {
    std::int32_t id = 0;
    EntryProperties updated;
    EntryProperties removed;  ///< back at their defaults
  };
  /// Replaces the items under the same ids if they are the same entries in the same places, and returns the changes.
  /// Returns empty, and replaces nothing, if the entries differ.
  std::optional<std::vector<Change>> updateInPlace(const FlatItems& items);

 private:
  std::int32_t firstId_;
  std::vector<MenuEntry> entries_;
};

/// The layout that panels read, and the layout before it that a panel may still have open.
class MenuHistory {
 public:
  struct Update {
    std::vector<MenuLayout::Change> changes;
    bool isNewLayout = false;
  };
  /// `menu` may be null; the caller holds a reference. Reading the menu may call the host, which may set another menu
  /// during the call. Then the other menu is kept.
  Update setMenu(const Menu* menu);

  const MenuLayout& current() const { return current_; }
  std::uint32_t revision() const { return revision_; }
  /// Records that a panel has read the current layout.
  void markRead() { isRead_ = true; }
  bool isRead() const { return isRead_; }

  /// The item under an id of the current layout, or of the last earlier layout that a panel has read; null for the
  /// root. Empty if neither layout has the id.
  std::optional<std::shared_ptr<const MenuItem>> find(std::int32_t id) const;

 private:
  MenuLayout current_{{}, 1};
  std::optional<MenuLayout> readBefore_;
  bool isRead_ = false;
  std::uint32_t revision_ = 1;
  std::uint64_t settings_ = 0;  // calls of setMenu()
};

}  // namespace quill::freedesktop
