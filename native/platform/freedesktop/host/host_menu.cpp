#include "host_menu.h"

#include <set>
#include <string_view>

#include "accelerator.h"
#include "description.h"
#include "glib_handles.h"
#include "report.h"
#include "text.h"

namespace quill::freedesktop {
namespace {

constexpr Selector kActivate = "activate:";
/// Limits for models that contain each other; deeper and further items are left out.
constexpr int kMaxDepth = 32;
constexpr int kMaxItems = 100'000;
/// The limit for reads inside a read. A model whose getter makes the library read again would recurse forever.
constexpr int kMaxReads = 16;
/// Characters that end the name in a detailed action name, "name::target" or "name(target)".
constexpr std::string_view kNameEnds = " :()";
/// QUILL_TRAY_MANAGER_ACTION_GROUP_KEY in quill_tray_manager.h.
constexpr std::string_view kActionGroupKey = "quill-tray-manager-action-group-";

std::string stringAttribute(GMenuModel* model, int index, const char* attribute) {
  const VariantPointer value(g_menu_model_get_item_attribute_value(model, index, attribute, G_VARIANT_TYPE_STRING));
  // A model of the host's own class may return a value of another type.
  if (!value || g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING) == FALSE) return {};
  return utf8Text(g_variant_get_string(value.get(), nullptr));
}

/// Splits a label into title and access key: "_" marks the character after it, "__" is one "_".
void setLabel(MenuItem& item, std::string_view label) {
  for (std::size_t at = 0; at < label.size(); ++at) {
    if (label[at] == '_' && at + 1 < label.size()) {
      ++at;
      if (label[at] != '_' && !item.mnemonic) item.mnemonic = item.title.size();
    }
    item.title += label[at];
  }
}

void setIcon(MenuItem& item, GMenuModel* model, int index) {
  const VariantPointer value(g_menu_model_get_item_attribute_value(model, index, G_MENU_ATTRIBUTE_ICON, nullptr));
  if (!value || (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING) == FALSE &&
                 g_variant_is_of_type(value.get(), G_VARIANT_TYPE("(sv)")) == FALSE)) {
    return;
  }
  const ObjectPointer<GIcon> icon(g_icon_deserialize(value.get()));
  if (!icon || !G_IS_THEMED_ICON(icon.get())) return;
  const char* const* names = g_themed_icon_get_names(G_THEMED_ICON(icon.get()));
  if (names != nullptr && *names != nullptr) item.iconName = utf8Text(*names);
}

/// A detailed action name for g_action_parse_detailed_name(). GLib's own printer rejects names with an underscore,
/// which hosts use.
std::string detailedName(const std::string& action, GVariant* target) {
  return target == nullptr ? action : action + "(" + GCharPointer(g_variant_print(target, TRUE)).get() + ")";
}

struct ActionState {
  bool isThere = false;
  bool isUsable = false;  ///< enabled, and accepts the item's target
  VariantPointer state{};
};

/// A GApplication must not be queried for actions before it is registered.
bool isUnregistered(GActionGroup* group) {
  return G_IS_APPLICATION(group) && g_application_get_is_registered(G_APPLICATION(group)) == FALSE;
}

ActionState query(GActionGroup* group, const std::string& name, GVariant* target) {
  gboolean enabled = FALSE;
  const GVariantType* parameter = nullptr;
  GVariant* state = nullptr;
  if (group == nullptr || isUnregistered(group) ||
      g_action_group_query_action(group, name.c_str(), &enabled, &parameter, nullptr, nullptr, &state) == FALSE) {
    return {};
  }
  const bool fits = target == nullptr ? parameter == nullptr
                                      : parameter != nullptr && g_variant_is_of_type(target, parameter) != FALSE;
  return {true, enabled != FALSE && fits, VariantPointer(state)};
}

/// Counts a read while it lasts.
class Reading {
 public:
  explicit Reading(HostMenuReads& reads) : reads_(reads) {
    ++reads_.depth;
    ++reads_.total;
  }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;
  ~Reading() {
    if (--reads_.depth == 0) reads_.total = 0;
  }

 private:
  HostMenuReads& reads_;
};

}  // namespace

/// Reads the model once, into a list of its own.
class HostMenu::Builder {
 public:
  explicit Builder(HostMenu& menu) : menu_(menu) { addTo(entries, menu_.model_.get(), 0); }

  Items entries;
  std::vector<SignalConnection> connections;

 private:
  void addTo(Items& items, GMenuModel* model, int depth) {
    follow(model, {"items-changed"});
    bool needsSeparator = false;  // before the next item
    // Queries the count each time, because the host may have removed items during the previous query.
    for (int index = 0; depth < kMaxDepth && index < g_menu_model_get_n_items(model); ++index) {
      if (++visited_ > kMaxItems) return;
      const ObjectPointer<GMenuModel> section(g_menu_model_get_item_link(model, index, G_MENU_LINK_SECTION));
      Items added;
      if (section) {
        addTo(added, section.get(), depth + 1);
      } else if (auto item = makeItem(model, index, depth)) {
        added.push_back(std::move(item));
      }
      if (added.empty()) continue;
      if (!items.empty() && (section || needsSeparator)) items.push_back(MenuItem::separator());
      items.insert(items.end(), added.begin(), added.end());
      needsSeparator = section != nullptr;
    }
  }

  std::shared_ptr<MenuItem> makeItem(GMenuModel* model, int index, int depth) {
    auto item = std::make_shared<MenuItem>();
    setLabel(*item, stringAttribute(model, index, G_MENU_ATTRIBUTE_LABEL));
    setIcon(*item, model, index);
    const auto accelerator = parseAccelerator(stringAttribute(model, index, "accel"));
    item->keyEquivalent = accelerator.key;
    item->keyEquivalentModifierMask = accelerator.modifiers;

    const auto hiddenWhen = stringAttribute(model, index, "hidden-when");
    const auto action = stringAttribute(model, index, G_MENU_ATTRIBUTE_ACTION);
    const VariantPointer target(g_menu_model_get_item_attribute_value(model, index, G_MENU_ATTRIBUTE_TARGET, nullptr));
    const ObjectPointer<GMenuModel> submenu(g_menu_model_get_item_link(model, index, G_MENU_LINK_SUBMENU));
    // From here on the reader queries other objects, and the host may remove the item.
    if (submenu) {
      Items items;
      addTo(items, submenu.get(), depth + 1);
      item->submenu = std::make_shared<Menu>();
      for (auto& entry : items) item->submenu->addItem(std::move(entry));
    }
    if (hiddenWhen == "macos-menubar") return item;
    if (action.find('.') == std::string::npos || action.find_first_of(kNameEnds) != std::string::npos) return item;
    const bool exists = setAction(*item, action, target.get());
    const bool hides =
        (hiddenWhen == "action-missing" && !exists) || (hiddenWhen == "action-disabled" && !item->enabled);
    return hides ? nullptr : item;
  }

  /// False: there is no such action.
  bool setAction(MenuItem& item, const std::string& action, GVariant* target) {
    item.action = {kActivate, menu_.weak_from_this()};
    item.representedObject = detailedName(action, target);
    item.enabled = false;

    const auto [group, name] = menu_.find(action);
    if (!group) return false;
    if (isUnregistered(group.get())) {
      follow(group.get(), {"notify::is-registered"});
      return false;
    }
    follow(group.get(), {"action-added", "action-removed", "action-enabled-changed", "action-state-changed"});
    const auto [isThere, isUsable, state] = query(group.get(), name, target);
    item.enabled = isUsable;
    if (state && target != nullptr) {
      item.toggleType = ToggleType::radio;
      item.on = g_variant_equal(state.get(), target) != FALSE;
    } else if (state && g_variant_is_of_type(state.get(), G_VARIANT_TYPE_BOOLEAN) != FALSE) {
      item.toggleType = ToggleType::check;
      item.on = g_variant_get_boolean(state.get()) != FALSE;
    }
    return isThere;
  }

  void follow(gpointer sender, std::initializer_list<const char*> signals) {
    if (!followed_.insert(sender).second) return;
    for (const auto* signal : signals) {
      connections.emplace_back(sender, signal, G_CALLBACK(&HostMenu::changed), &menu_);
    }
  }

  HostMenu& menu_;
  std::set<gpointer> followed_;
  int visited_ = 0;
};

std::shared_ptr<HostMenu> HostMenu::adopt(const void* menu, std::shared_ptr<HostMenuReads> reads) {
  auto* const object = const_cast<void*>(menu);
  if (!G_IS_MENU_MODEL(object)) return nullptr;
  return std::make_shared<HostMenu>(G_MENU_MODEL(object), std::move(reads));
}

Menu::Items HostMenu::items() const {
  const bool isCurrent = !isOutdated_ && lastRead_ == readsBegun_;
  if (isCurrent || reads_->total >= kMaxReads) return built_;
  const auto self = std::const_pointer_cast<HostMenu>(shared_from_this());  // the host may replace it during the call
  const Reading reading(*reads_);
  isOutdated_ = false;
  const auto number = ++readsBegun_;
  Builder built(*self);
  // A read that began later, from inside this one, has newer results.
  if (number == readsBegun_) {
    lastRead_ = number;
    built_.swap(built.entries);
    connections_.swap(built.connections);
  }
  return built_;  // copied before the old connections end, which may call the host
}

void HostMenu::changed(HostMenu* self) {
  if (std::exchange(self->isOutdated_, true)) return;
  completes([self] { self->announceChange(); });
}

std::string HostMenu::description() const { return describeObject(G_OBJECT_TYPE_NAME(model_.get()), model_.get()); }

HostMenu::NamedAction HostMenu::find(const std::string& prefixedName) const {
  const auto dot = prefixedName.find('.');
  if (dot == std::string::npos) return {nullptr, {}};
  const auto prefix = prefixedName.substr(0, dot);
  gpointer group = nullptr;  // not owned
  if (prefix == "app") {
    group = g_application_get_default();
  } else {
    group = g_object_get_data(G_OBJECT(model_.get()), (std::string(kActionGroupKey) + prefix).c_str());
  }
  if (!G_IS_ACTION_GROUP(group)) return {nullptr, {}};
  return {holdObject(G_ACTION_GROUP(group)), prefixedName.substr(dot + 1)};
}

bool HostMenu::perform(Selector selector, const MenuItem* sender) {
  const auto* detailed = sender ? std::any_cast<std::string>(&sender->representedObject) : nullptr;
  if (selector != kActivate || detailed == nullptr) return false;
  char* nameOwned = nullptr;
  GVariant* targetOwned = nullptr;
  if (g_action_parse_detailed_name(detailed->c_str(), &nameOwned, &targetOwned, nullptr) == FALSE) return false;
  const GCharPointer name(nameOwned);
  const VariantPointer target(targetOwned);
  const auto [group, actionName] = find(name.get());
  if (!query(group.get(), actionName, target.get()).isUsable) return false;
  g_action_group_activate_action(group.get(), actionName.c_str(), target.get());
  return true;
}

}  // namespace quill::freedesktop
