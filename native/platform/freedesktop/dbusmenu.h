#pragma once

#include <functional>
#include <memory>

#include "bus.h"
#include "menu_layout.h"

namespace quill::freedesktop {

/// com.canonical.dbusmenu: a menu that panels read and show themselves. A choice is told after the
/// panel has its answer, in a dispatch of its own. Main thread.
class DBusMenu {
 public:
  static constexpr auto kPath = "/MenuBar";

  DBusMenu(Bus& bus, GlibMainQueue& queue) : bus_(bus), queue_(queue) {}
  DBusMenu(const DBusMenu&) = delete;
  DBusMenu& operator=(const DBusMenu&) = delete;

  /// Offers `menu`, or an empty one for null, and signals what is new about it.
  void show(const Menu* menu);
  void exportOn(sd_bus* bus);
  /// Forgets the connection, which is closed.
  void withdraw() { slot_.reset(); }

 private:
  static const sd_bus_vtable kVtable[];

  int getLayout(sd_bus_message* call, sd_bus_error* error);
  int getGroupProperties(sd_bus_message* call, sd_bus_error* error);
  int getProperty(sd_bus_message* call, sd_bus_error* error);
  int event(sd_bus_message* call, sd_bus_error* error);
  int eventGroup(sd_bus_message* call, sd_bus_error* error);
  int aboutToShow(sd_bus_message* call, sd_bus_error* error);
  int aboutToShowGroup(sd_bus_message* call, sd_bus_error* error);
  /// A vtable's entry for a member function.
  template <int (DBusMenu::*method)(sd_bus_message*, sd_bus_error*)>
  static int call(sd_bus_message* message, void* self, sd_bus_error* error) {
    return (static_cast<DBusMenu*>(self)->*method)(message, error);
  }

  void chooseLater(std::shared_ptr<const MenuItem> item);
  int signalChanges(sd_bus* bus, const std::vector<MenuLayout::Change>& changes);

  Bus& bus_;
  GlibMainQueue& queue_;
  MenuHistory history_;
  SlotHandle slot_;
};

}  // namespace quill::freedesktop
