#pragma once

#include <cstddef>
#include <deque>
#include <memory>

#include "bus.h"
#include "menu_layout.h"

namespace quill::freedesktop {

/// com.canonical.dbusmenu: a menu that panels read and show themselves. A choice is told after the
/// panel has its answer, in a dispatch of its own, one a turn of the main loop. Main thread.
class DBusMenu {
 public:
  static constexpr auto kPath = "/MenuBar";

  /// Events of one message, and choices that wait to be told. A user makes one at a time: a call that brings more is
  /// refused as a whole.
  static constexpr std::size_t kMaxChoices = 1024;

  DBusMenu(Bus& bus, GlibMainQueue& queue) : bus_(bus), choices_(std::make_shared<Choices>(Choices{{}, queue})) {}
  DBusMenu(const DBusMenu&) = delete;
  DBusMenu& operator=(const DBusMenu&) = delete;

  /// Offers `menu`, or an empty one for null, and signals what is new about it.
  void show(const Menu* menu);
  /// What is told from now on is told to this panel: one that comes later has read nothing yet.
  void offerTo(PanelKind panel) { panel_ = panel; }
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

  void chooseLater(std::shared_ptr<const MenuItem> item);
  bool canTake(std::size_t choices) const { return choices_->items.size() + choices <= kMaxChoices; }
  void signalChanges(sd_bus* bus, const std::vector<MenuLayout::Change>& changes);

  /// What was chosen and is not told yet. It outlives the menu, which the host may replace in between.
  struct Choices {
    std::deque<std::shared_ptr<const MenuItem>> items;
    GlibMainQueue& queue;
  };
  static void postNext(const std::shared_ptr<Choices>& choices);

  Bus& bus_;
  std::shared_ptr<Choices> choices_;
  MenuHistory history_;
  PanelKind panel_ = PanelKind::other;
};

}  // namespace quill::freedesktop
