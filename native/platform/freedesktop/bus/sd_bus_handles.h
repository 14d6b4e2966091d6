#pragma once

#include <systemd/sd-bus.h>

#include <memory>

namespace quill::freedesktop {

struct BusClose {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }  // never flushes: that would wait
};
struct SlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
struct MessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

using BusHandle = std::unique_ptr<sd_bus, BusClose>;
/// A match, an exported interface or an awaited reply; ends with the handle.
using SlotHandle = std::unique_ptr<sd_bus_slot, SlotUnref>;
using MessageHandle = std::unique_ptr<sd_bus_message, MessageUnref>;

}  // namespace quill::freedesktop
