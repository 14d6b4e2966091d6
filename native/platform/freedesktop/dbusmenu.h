#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <utility>

#include "activation_token.h"
#include "bus.h"
#include "menu_layout.h"

namespace quill::freedesktop {

/// com.canonical.dbusmenu: a menu that panels read and show. A panel gets its reply before the host is called for a
/// choice. The host is called for at most one choice in each iteration of the main loop. Main thread.
class DBusMenu {
 public:
  static constexpr auto kPath = "/MenuBar";

  /// The limit for the events of one call, and for the choices that wait. A call beyond the limit is rejected as a
  /// whole, because a user makes one choice at a time.
  static constexpr std::size_t kMaxChoices = 1024;

  /// `takeToken` gives the token that the panel sent for the choice that it reports.
  DBusMenu(Bus& bus, GlibMainQueue& queue, std::function<ActivationToken()> takeToken)
      : bus_(bus), takeToken_(std::move(takeToken)), choices_(std::make_shared<Choices>(Choices{{}, queue})) {}
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
  bool canTake(std::size_t choices) const { return choices_->items.size() + choices <= kMaxChoices; }
  void signalChanges(sd_bus* bus, const std::vector<MenuLayout::Change>& changes);

  /// Choices for which the host has not been called yet. They outlive this object, because the host may replace its
  /// status item in the meantime.
  struct Choices {
    struct Choice {
      std::shared_ptr<const MenuItem> item;
      ActivationToken token;
    };
    std::deque<Choice> items;
    GlibMainQueue& queue;
  };
  static void postNext(const std::shared_ptr<Choices>& choices);

  Bus& bus_;
  std::function<ActivationToken()> takeToken_;
  std::shared_ptr<Choices> choices_;
  MenuHistory history_;
  const Panel* panel_ = &kUnknownPanel;
};

}  // namespace quill::freedesktop
