#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

#include "activation_token.h"
#include "bus.h"
#include "host_calls.h"
#include "menu_layout.h"

namespace quill::freedesktop {

/// com.canonical.dbusmenu: a menu that panels read and show. A panel gets its reply before the host is called for a
/// choice. The host is called for at most one choice in each iteration of the main loop. Main thread.
class DBusMenu {
 public:
  static constexpr auto kPath = "/MenuBar";

  /// The limit for the events of one call. A call is rejected as a whole if it has more events or if too many choices
  /// wait, because a user makes one choice at a time.
  static constexpr std::size_t kMaxChoices = HostCalls::kMaxWaiting;

  /// `takeToken` gives the token that the panel sent for the choice that it reports.
  DBusMenu(Bus& bus, std::shared_ptr<HostCalls> hostCalls, std::function<ActivationToken()> takeToken)
      : bus_(bus), takeToken_(std::move(takeToken)), hostCalls_(std::move(hostCalls)) {}
  DBusMenu(const DBusMenu&) = delete;
  DBusMenu& operator=(const DBusMenu&) = delete;

  /// Shows `menu`, or an empty menu for null, and signals what changed.
  void show(const Menu* menu);
  /// Writes labels in this panel's form from now on; a new panel has read nothing yet.
  void setPanel(const Panel& panel) { panel_ = &panel; }
  void exportOn(sd_bus* bus);

 private:
  static const sd_bus_vtable kVtable[];

  int getLayout(sd_bus_message* call, sd_bus_error* error);
  int getGroupProperties(sd_bus_message* call, sd_bus_error* error);
  int getProperty(sd_bus_message* call, sd_bus_error* error);
  int event(sd_bus_message* call, sd_bus_error* error);
  int eventGroup(sd_bus_message* call, sd_bus_error* error);
  int aboutToShow(sd_bus_message* call, sd_bus_error* error);
  int aboutToShowGroup(sd_bus_message* call, sd_bus_error* error);

  /// Whether a panel that is about to show the entry has to read it first.
  bool needsUpdate(std::int32_t id) const { return id == MenuLayout::kRootId && !history_.isRead(); }
  /// `item` may be null, for an entry that does nothing.
  void chooseLater(std::shared_ptr<const MenuItem> item);
  void signalChanges(sd_bus* bus, const std::vector<MenuLayout::Change>& changes);

  Bus& bus_;
  std::function<ActivationToken()> takeToken_;
  const std::shared_ptr<HostCalls> hostCalls_;
  MenuHistory history_;
  const Panel* panel_ = &kUnknownPanel;
};

}  // namespace quill::freedesktop
