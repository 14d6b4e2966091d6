#pragma once

#include <systemd/sd-bus.h>

#include <memory>

#include "deleter.h"

namespace quill::freedesktop {

/// Never flushes, because that would wait.
using BusHandle = std::unique_ptr<sd_bus, Deleter<sd_bus_close_unref>>;
/// A match, an exported interface or an awaited reply; ends with the handle.
using SlotHandle = std::unique_ptr<sd_bus_slot, Deleter<sd_bus_slot_unref>>;
using MessageHandle = std::unique_ptr<sd_bus_message, Deleter<sd_bus_message_unref>>;

}  // namespace quill::freedesktop
