#include "menu_layout.h"

#include <algorithm>
#include <any>
#include <array>
#include <limits>
#include <utility>

#include "panel_title.h"

namespace quill::freedesktop {
namespace {

/// A bus accepts messages that nest 64 levels deep, and a submenu takes three levels.
constexpr int kMaxDepth = 16;
/// Menus may hold each other, or more entries than fit into a message. Further entries are left out.
constexpr std::size_t kMaxEntries = 1'000'000;

constexpr std::array<std::string_view, kEntryProperties> kNames = {
    "type", "label", "enabled", "visible", "shortcut", "toggle-type", "toggle-state", "children-display", "icon-name"};

std::optional<std::string> keyNameFor(const std::string& key) {
  if (key == "+") return "plus";
  if (key == "-") return "minus";
  if (key == " ") return "space";
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
  if (key.empty() || std::any_of(key.begin(), key.end(), isControl)) return std::nullopt;
  return key;
}

/// Names Command as Control, and as Super if the shortcut has Control too.
std::optional<KeyNames> shortcutFor(const std::string& keyEquivalent, ModifierFlags modifiers) {
  auto key = keyNameFor(keyEquivalent);
  if (!key) return std::nullopt;
  const bool control = modifiers.contains(kControl);
  const bool command = modifiers.contains(kCommand);
  KeyNames shortcut;
  if (control || command) shortcut.emplace_back("Control");
  if (modifiers.contains(kOption)) shortcut.emplace_back("Alt");
  if (modifiers.contains(kShift)) shortcut.emplace_back("Shift");
  if (control && command) shortcut.emplace_back("Super");
  shortcut.push_back(std::move(*key));
  return shortcut;
}

void collect(const Menu& menu, int depth, FlatItems& placed) {
  for (auto& item : menu.items()) {
    if (placed.size() >= kMaxEntries) return;
    if (!item) continue;
    const auto submenu = item->submenu;
    placed.push_back({std::move(item), depth});
    if (submenu && depth < kMaxDepth) collect(*submenu, depth + 1, placed);
  }
}

/// The text that identifies the item to its action; null: it has none.
const std::string* identifierOf(const MenuItem& item) { return std::any_cast<std::string>(&item.representedObject); }

bool isSameEntry(const MenuEntry& entry, const FlatItem& placed) {
  const auto& item = *placed.item;
  if (entry.depth != placed.depth || entry.look.isSeparator != item.isSeparator ||
      entry.hasSubmenu != (item.submenu != nullptr)) {
    return false;
  }
  if (entry.item == placed.item) return true;
  if (entry.item->action.selector != item.action.selector) return false;
  const auto* before = identifierOf(*entry.item);
  const auto* now = identifierOf(item);
  return before == nullptr || now == nullptr ? before == now : *before == *now;
}

bool showsChoosable(const MenuItem& item) { return item.isSeparator || item.isChoosable(); }

void take(MenuEntry& entry, const MenuItem& item) {
  entry.look = item;
  entry.isChoosable = showsChoosable(item);
}

}  // namespace

std::string_view nameOf(EntryProperty property) { return kNames[static_cast<unsigned>(property)]; }

std::optional<EntryProperty> entryPropertyNamed(std::string_view name) {
  const auto* const found = std::find(kNames.begin(), kNames.end(), name);
  if (found == kNames.end()) return std::nullopt;
  return EntryProperty{static_cast<unsigned>(found - kNames.begin())};
}

EntryValue defaultOf(EntryProperty property) {
  switch (property) {
    case EntryProperty::enabled:
    case EntryProperty::visible:
      return true;
    case EntryProperty::toggleState:
      return std::int32_t{-1};  // neither on nor off
    case EntryProperty::shortcut:
      return KeyNames{};
    case EntryProperty::type:
      return std::string("standard");
    default:
      return std::string();
  }
}

std::optional<EntryValue> MenuEntry::value(EntryProperty property, const Panel& panel) const {
  using Value = std::optional<EntryValue>;
  const bool isRoot = item == nullptr;
  switch (property) {
    case EntryProperty::type:
      return look.isSeparator ? Value(std::string("separator")) : std::nullopt;
    case EntryProperty::label:
      return isRoot || look.isSeparator ? std::nullopt : Value(panelLabel(look.title, look.mnemonic, panel));
    case EntryProperty::enabled:
      return isChoosable ? std::nullopt : Value(false);
    case EntryProperty::visible:
      return std::nullopt;
    case EntryProperty::shortcut: {
      if (isRoot || look.isSeparator) return std::nullopt;
      auto shortcut = shortcutFor(look.keyEquivalent, look.keyEquivalentModifierMask);
      return shortcut ? Value(std::move(*shortcut)) : std::nullopt;
    }
    case EntryProperty::toggleType:
      if (look.toggleType == ToggleType::none) return std::nullopt;
      return std::string(look.toggleType == ToggleType::check ? "checkmark" : "radio");
    case EntryProperty::toggleState:
      return look.toggleType == ToggleType::none ? std::nullopt : Value(std::int32_t{look.on ? 1 : 0});
    case EntryProperty::childrenDisplay:
      return isRoot || hasSubmenu ? Value(std::string("submenu")) : std::nullopt;
    case EntryProperty::iconName:
      return look.iconName.empty() ? std::nullopt : Value(look.iconName);
  }
  return std::nullopt;
}

MenuLayout::MenuLayout(const FlatItems& items, std::int32_t firstId) : firstId_(firstId) {
  entries_.resize(items.size() + 1);
  std::vector<std::size_t> open = {0};  // the entries that the next one may lie below
  const auto closeFrom = [&](int depth, std::size_t end) {
    while (open.size() > static_cast<std::size_t>(depth)) {
      entries_[open.back()].end = end;
      open.pop_back();
    }
  };
  for (std::size_t i = 1; i < entries_.size(); ++i) {
    const auto& [item, depth] = items[i - 1];
    auto& entry = entries_[i];
    entry.depth = depth;
    entry.hasSubmenu = item->submenu != nullptr;
    entry.item = item;
    take(entry, *item);
    closeFrom(depth, i);
    open.push_back(i);
  }
  closeFrom(0, entries_.size());
}

std::optional<std::size_t> MenuLayout::indexOf(std::int32_t id) const {
  if (id == kRootId) return 0;
  if (id < firstId_ || id >= nextId()) return std::nullopt;
  return static_cast<std::size_t>(id - firstId_) + 1;
}

std::optional<std::vector<MenuLayout::Change>> MenuLayout::updateInPlace(const FlatItems& items) {
  if (!std::equal(entries_.begin() + 1, entries_.end(), items.begin(), items.end(), isSameEntry)) {
    return std::nullopt;
  }
  std::vector<Change> changes;
  for (std::size_t i = 1; i < entries_.size(); ++i) {
    auto& entry = entries_[i];
    const auto& item = items[i - 1].item;
    if (entry.item != item) entry.item = item;
    if (entry.look == *item && entry.isChoosable == showsChoosable(*item)) continue;
    const auto before = entry;
    take(entry, *item);
    Change change{idOf(i), {}, {}};
    for (unsigned number = 0; number < kEntryProperties; ++number) {
      const EntryProperty property{number};
      const auto value = entry.value(property, kUnknownPanel);
      if (value == before.value(property, kUnknownPanel)) continue;
      // Some panels leave an entry grey until the signal says that it is enabled.
      (value || property == EntryProperty::enabled ? change.updated : change.removed).insert(property);
    }
    if (!change.updated.empty() || !change.removed.empty()) changes.push_back(std::move(change));
  }
  return changes;
}

MenuHistory::Update MenuHistory::setMenu(const Menu* menu) {
  const auto setting = ++settings_;
  FlatItems items;
  if (menu != nullptr) collect(*menu, 1, items);
  if (setting != settings_) return {};
  if (auto changes = current_.updateInPlace(items)) return {std::move(*changes), false};
  auto firstId = current_.nextId();
  // Ids start over before they run out. The ids in use are then far from the first ones.
  if (firstId > std::numeric_limits<std::int32_t>::max() - 2 * static_cast<std::int64_t>(kMaxEntries)) firstId = 1;
  auto before = std::exchange(current_, MenuLayout(items, static_cast<std::int32_t>(firstId)));
  if (std::exchange(isRead_, false)) readBefore_ = std::move(before);
  ++revision_;
  return {{}, true};
}

std::optional<std::shared_ptr<const MenuItem>> MenuHistory::find(std::int32_t id) const {
  if (const auto index = current_.indexOf(id)) return current_.entries()[*index].item;
  const auto index = readBefore_ ? readBefore_->indexOf(id) : std::nullopt;
  if (!index) return std::nullopt;
  return readBefore_->entries()[*index].item;
}

}  // namespace quill::freedesktop
