#include "dbusmenu.h"

#include <limits>
#include <span>
#include <utility>

#include "bus_message.h"
#include "member_callbacks.h"
#include "menu_entry_message.h"

namespace quill::freedesktop {
namespace {

constexpr auto kMenuInterface = "com.canonical.dbusmenu";
constexpr std::uint32_t kVersion = 3;
constexpr std::string_view kClicked = "clicked";
/// Property names in one call; nine exist.
constexpr int kMaxNames = 256;
/// Ids in one call, which take some milliseconds to look up.
constexpr std::size_t kMaxIds = 250'000;

/// For a call that would hold up the host's main loop.
int refuseSize(sd_bus_error* error) {
  return sd_bus_error_set(error, SD_BUS_ERROR_LIMITS_EXCEEDED, "More than a menu is asked or told at once");
}

/// Reads a list of property names; an empty list means all. Negative: the error.
int readProperties(sd_bus_message* from, EntryProperties& properties, sd_bus_error* error) {
  int names = 0;
  int result = sd_bus_message_enter_container(from, 'a', "s");
  for (const char* name = nullptr; result > 0; ++names) {
    result = sd_bus_message_read_basic(from, 's', &name);
    if (result <= 0) break;
    if (names == kMaxNames) return refuseSize(error);
    if (const auto property = entryPropertyNamed(name)) properties.insert(*property);
  }
  for (unsigned i = 0; names == 0 && i < kEntryProperties; ++i) properties.insert(EntryProperty{i});
  return result < 0 ? result : sd_bus_message_exit_container(from);
}

int readIds(sd_bus_message* from, std::span<const std::int32_t>& ids, sd_bus_error* error) {
  const void* data = nullptr;
  std::size_t size = 0;
  const int result = sd_bus_message_read_array(from, 'i', &data, &size);
  if (size > 0) ids = {static_cast<const std::int32_t*>(data), size / sizeof(std::int32_t)};
  return ids.size() > kMaxIds ? refuseSize(error) : result;
}

/// Answers `call` with what `fill` puts in.
template <typename Fill>
int reply(sd_bus_message* call, Fill fill) {
  sd_bus_message* created = nullptr;
  const int result = sd_bus_message_new_method_return(call, &created);
  if (result < 0) return result;
  const MessageHandle message(created);
  MessageWriter writer(created);
  fill(writer);
  return writer.result() < 0 ? writer.result() : sd_bus_send(nullptr, created, nullptr);
}

int refuseId(sd_bus_error* error, std::int32_t id) {
  return sd_bus_error_setf(error, SD_BUS_ERROR_INVALID_ARGS, "No menu entry has the id %d", id);
}

// Properties that are the same for every menu.
void appendVersion(MessageWriter& to) { to.append(kVersion); }
void appendTextDirection(MessageWriter& to) { to.append("ltr"); }
void appendStatus(MessageWriter& to) { to.append("normal"); }
void appendIconThemePath(MessageWriter& to) {
  to.container('a', "s", [] {});
}

}  // namespace

const sd_bus_vtable DBusMenu::kVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("GetLayout", "iias", "u(ia{sv}av)", call<&DBusMenu::getLayout>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("GetGroupProperties", "aias", "a(ia{sv})", call<&DBusMenu::getGroupProperties>,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("GetProperty", "is", "v", call<&DBusMenu::getProperty>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Event", "isvu", "", call<&DBusMenu::event>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("EventGroup", "a(isvu)", "ai", call<&DBusMenu::eventGroup>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("AboutToShow", "i", "b", call<&DBusMenu::aboutToShow>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("AboutToShowGroup", "ai", "aiai", call<&DBusMenu::aboutToShowGroup>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_PROPERTY("Version", "u", get<appendVersion>, 0, 0),
    SD_BUS_PROPERTY("TextDirection", "s", get<appendTextDirection>, 0, 0),
    SD_BUS_PROPERTY("Status", "s", get<appendStatus>, 0, 0),
    SD_BUS_PROPERTY("IconThemePath", "as", get<appendIconThemePath>, 0, 0),
    SD_BUS_SIGNAL("ItemsPropertiesUpdated", "a(ia{sv})a(ias)", 0),
    SD_BUS_SIGNAL("LayoutUpdated", "ui", 0),
    SD_BUS_SIGNAL("ItemActivationRequested", "iu", 0),
    SD_BUS_VTABLE_END};

void DBusMenu::exportOn(sd_bus* bus) { sd_bus_add_object_vtable(bus, nullptr, kPath, kMenuInterface, kVtable, this); }

void DBusMenu::show(const Menu* menu) {
  const auto update = history_.setMenu(menu);
  if (!update.isNewLayout && update.changes.empty()) return;
  sd_bus* const bus = bus_.connection();
  if (bus == nullptr) return;  // a panel that starts later reads everything
  if (update.isNewLayout) {
    sd_bus_emit_signal(bus, kPath, kMenuInterface, "LayoutUpdated", "ui", history_.revision(), MenuLayout::kRootId);
  } else {
    signalChanges(bus, update.changes);
  }
}

void DBusMenu::signalChanges(sd_bus* bus, const std::vector<MenuLayout::Change>& changes) {
  sd_bus_message* created = nullptr;
  if (sd_bus_message_new_signal(bus, &created, kPath, kMenuInterface, "ItemsPropertiesUpdated") < 0) return;
  const MessageHandle signal(created);
  MessageWriter to(created);
  const auto& layout = history_.current();
  to.container('a', "(ia{sv})", [&] {
    for (const auto& change : changes) {
      if (change.updated.empty()) continue;
      to.container('r', "ia{sv}", [&] {
        to.append(change.id);
        appendProperties(to, layout.entries()[*layout.indexOf(change.id)], *panel_, change.updated, change.updated);
      });
    }
  });
  to.container('a', "(ias)", [&] {
    for (const auto& change : changes) {
      if (change.removed.empty()) continue;
      to.container('r', "ias", [&] {
        to.append(change.id);
        to.container('a', "s", [&] {
          for (const auto property : change.removed) to.append(nameOf(property).data());
        });
      });
    }
  });
  if (to.result() >= 0) sd_bus_send(bus, created, nullptr);
}

int DBusMenu::getLayout(sd_bus_message* call, sd_bus_error* error) {
  std::int32_t parent = 0;
  std::int32_t depth = 0;
  EntryProperties properties;
  int result = sd_bus_message_read(call, "ii", &parent, &depth);
  if (result >= 0) result = readProperties(call, properties, error);
  if (result < 0) return result;
  const auto& layout = history_.current();
  const auto index = layout.indexOf(parent);
  if (!index) return refuseId(error, parent);
  if (depth < 0) depth = std::numeric_limits<std::int32_t>::max();
  result = reply(call, [&](MessageWriter& to) {
    to.append(history_.revision());
    appendEntry(to, layout, *index, *panel_, properties, depth);
  });
  if (result >= 0) history_.markRead();
  return result;
}

int DBusMenu::getGroupProperties(sd_bus_message* call, sd_bus_error* error) {
  std::span<const std::int32_t> ids;
  EntryProperties properties;
  int result = readIds(call, ids, error);
  if (result >= 0) result = readProperties(call, properties, error);
  if (result < 0) return result;
  const auto& layout = history_.current();
  return reply(call, [&](MessageWriter& to) {
    const auto append = [&](std::size_t index) {
      to.container('r', "ia{sv}", [&] {
        to.append(layout.idOf(index));
        appendProperties(to, layout.entries()[index], *panel_, properties);
      });
    };
    to.container('a', "(ia{sv})", [&] {
      if (ids.empty()) {
        for (std::size_t index = 0; index < layout.entries().size(); ++index) append(index);
        return;
      }
      std::vector<bool> answered(layout.entries().size());
      for (const auto id : ids) {
        const auto index = layout.indexOf(id);
        if (!index || answered[*index]) continue;
        answered[*index] = true;
        append(*index);
      }
    });
  });
}

int DBusMenu::getProperty(sd_bus_message* call, sd_bus_error* error) {
  std::int32_t id = 0;
  const char* name = nullptr;
  if (const int result = sd_bus_message_read(call, "is", &id, &name); result < 0) return result;
  const auto& layout = history_.current();
  const auto index = layout.indexOf(id);
  if (!index) return refuseId(error, id);
  const auto property = entryPropertyNamed(name);
  if (!property) {
    return sd_bus_error_set(error, SD_BUS_ERROR_UNKNOWN_PROPERTY, "Menu entries have no property of that name");
  }
  return reply(call, [&](MessageWriter& to) {
    appendVariant(to, layout.entries()[*index].value(*property, *panel_).value_or(defaultOf(*property)));
  });
}

void DBusMenu::chooseLater(std::shared_ptr<const MenuItem> item) {
  auto token = takeToken_();  // also where nothing follows: it was for this choice alone
  if (!item) return;
  hostCalls_->add(
      [item = std::move(item), token = std::move(token)] { runWithActivationToken(token, [&] { item->choose(); }); });
}

int DBusMenu::event(sd_bus_message* call, sd_bus_error* error) {
  std::int32_t id = 0;
  const char* name = nullptr;
  if (const int result = sd_bus_message_read(call, "is", &id, &name); result < 0) return result;
  auto found = history_.find(id);
  if (!found) return refuseId(error, id);
  if (!hostCalls_->canTake(1)) return refuseSize(error);
  const int result = sd_bus_reply_method_return(call, nullptr);
  if (std::string_view(name) == kClicked) chooseLater(*std::move(found));
  return result;
}

int DBusMenu::eventGroup(sd_bus_message* call, sd_bus_error* error) {
  std::vector<std::shared_ptr<const MenuItem>> clicked;
  std::vector<std::int32_t> unknown;
  bool anyKnown = false;
  std::size_t events = 0;
  int result = sd_bus_message_enter_container(call, 'a', "(isvu)");
  while (result > 0 && (result = sd_bus_message_enter_container(call, 'r', "isvu")) > 0) {
    if (++events > kMaxChoices) return refuseSize(error);
    std::int32_t id = 0;
    const char* name = nullptr;
    result = sd_bus_message_read(call, "is", &id, &name);
    if (result >= 0) result = sd_bus_message_skip(call, "vu");
    if (result >= 0) result = sd_bus_message_exit_container(call);
    if (result < 0) break;
    auto found = history_.find(id);
    if (!found) {
      unknown.push_back(id);
      continue;
    }
    anyKnown = true;
    if (std::string_view(name) == kClicked) clicked.push_back(*std::move(found));
  }
  if (result < 0) return result;
  if (!anyKnown && !unknown.empty()) return refuseId(error, unknown.front());
  if (!hostCalls_->canTake(clicked.size())) return refuseSize(error);
  result = reply(call, [&](MessageWriter& to) { to.append(unknown); });
  for (auto& item : clicked) chooseLater(std::move(item));
  return result;
}

int DBusMenu::aboutToShow(sd_bus_message* call, sd_bus_error* error) {
  std::int32_t id = 0;
  if (const int result = sd_bus_message_read(call, "i", &id); result < 0) return result;
  if (!history_.find(id)) return refuseId(error, id);
  return reply(call, [&](MessageWriter& to) { to.append(needsUpdate(id)); });
}

int DBusMenu::aboutToShowGroup(sd_bus_message* call, sd_bus_error* error) {
  std::span<const std::int32_t> ids;
  if (const int result = readIds(call, ids, error); result < 0) return result;
  std::vector<std::int32_t> unread;
  std::vector<std::int32_t> unknown;
  for (const auto id : ids) {
    if (needsUpdate(id) && unread.empty()) unread.push_back(id);
    if (!history_.find(id)) unknown.push_back(id);
  }
  if (!ids.empty() && unknown.size() == ids.size()) return refuseId(error, unknown.front());
  return reply(call, [&](MessageWriter& to) {
    to.append(unread);
    to.append(unknown);
  });
}

}  // namespace quill::freedesktop
