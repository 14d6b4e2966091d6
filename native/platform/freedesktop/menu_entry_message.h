#pragma once

#include <cstddef>
#include <cstdint>

#include "bus_message.h"
#include "menu_layout.h"

namespace quill::freedesktop {

/// Appends a property's value as a variant.
void appendVariant(MessageWriter& to, const EntryValue& value);

/// Appends the `properties` that differ from their defaults, and the ones in `always` in any case.
void appendProperties(MessageWriter& to, const MenuEntry& entry, const Panel& panel, const EntryProperties& properties,
                      const EntryProperties& always = {});

/// Appends an entry's id, its properties and the entries below it, `depth` levels deep.
void appendEntry(MessageWriter& to, const MenuLayout& layout, std::size_t index, const Panel& panel,
                 const EntryProperties& properties, std::int32_t depth);

}  // namespace quill::freedesktop
