#include "menu_entry_message.h"

#include <string>
#include <variant>

namespace quill::freedesktop {

void appendVariant(MessageWriter& to, const EntryValue& value) {
  if (const auto* flag = std::get_if<bool>(&value)) {
    to.container('v', "b", [&] { to.append(*flag); });
  } else if (const auto* number = std::get_if<std::int32_t>(&value)) {
    to.container('v', "i", [&] { to.append(*number); });
  } else if (const auto* text = std::get_if<std::string>(&value)) {
    to.container('v', "s", [&] { to.append(*text); });
  } else {
    to.container('v', "aas", [&] {
      to.container('a', "as", [&] {
        const auto& keys = std::get<KeyNames>(value);
        if (keys.empty()) return;
        to.container('a', "s", [&] {
          for (const auto& key : keys) to.append(key);
        });
      });
    });
  }
}

void appendProperties(MessageWriter& to, const MenuEntry& entry, const Panel& panel, const EntryProperties& properties,
                      const EntryProperties& always) {
  to.container('a', "{sv}", [&] {
    for (const auto property : properties) {
      auto value = entry.value(property, panel);
      if (!value && always.contains(property)) value = defaultOf(property);
      if (!value) continue;
      to.container('e', "sv", [&] {
        to.append(nameOf(property).data());
        appendVariant(to, *value);
      });
    }
  });
}

void appendEntry(MessageWriter& to, const MenuLayout& layout, std::size_t index, const Panel& panel,
                 const EntryProperties& properties, std::int32_t depth) {
  const auto& entries = layout.entries();
  to.container('r', "ia{sv}av", [&] {
    to.append(layout.idOf(index));
    appendProperties(to, entries[index], panel, properties);
    to.container('a', "v", [&] {
      if (depth == 0) return;
      for (auto child = index + 1; child < entries[index].end && to.result() >= 0; child = entries[child].end) {
        to.container('v', "(ia{sv}av)", [&] { appendEntry(to, layout, child, panel, properties, depth - 1); });
      }
    });
  });
}

}  // namespace quill::freedesktop
