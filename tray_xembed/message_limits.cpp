#include "message_limits.h"

#include <string_view>

namespace quill::xembed {
namespace {

/// Bytes; 2,000 titles of 60 wide characters need half of them.
constexpr std::size_t kMaxSize = 1 << 20;
/// A menu has about 15 for each entry.
constexpr std::size_t kMaxValues = 30'000;
/// Whether libdbusmenu may read a property's value, or a menu's entry, which has no name. It decodes "icon-data", where
/// a few bytes can become any number of pixels; the library's menus have none. Version 16.04 aborts on other types
/// here.
bool isHarmless(std::string_view name, GVariant* value) {
  if (name == "icon-data") return false;
  const char* const needed = name.empty() ? "(ia{sv}av)" : name == "shortcut" ? "aas" : "*";
  return g_variant_is_of_type(value, G_VARIANT_TYPE(needed)) != FALSE;
}

/// Subtracts the number of values in `value` from `left`. False: there are more, or a harmful one.
bool count(GVariant* value, std::size_t& left) {
  if (left-- == 0) return false;
  const auto is = [value](const char* type) { return g_variant_is_of_type(value, G_VARIANT_TYPE(type)) != FALSE; };
  const bool isMenu = is("av");
  const char* name = "";
  g_autoptr(GVariant) property = nullptr;
  if (is("{sv}")) g_variant_get(value, "{&sv}", &name, &property);
  if (property != nullptr && !isHarmless(name, property)) return false;
  const auto children = g_variant_is_container(value) != FALSE && !is("ay") ? g_variant_n_children(value) : 0;
  for (std::size_t i = 0; i < children; ++i) {
    g_autoptr(GVariant) child = g_variant_get_child_value(value, i);
    g_autoptr(GVariant) entry = isMenu ? g_variant_get_variant(child) : nullptr;
    if ((entry != nullptr && !isHarmless("", entry)) || !count(child, left)) return false;
  }
  return true;
}

}  // namespace

void limitMessages(GDBusConnection* bus) {
  const auto filter = [](GDBusConnection*, GDBusMessage* message, gboolean isIncoming, gpointer) -> GDBusMessage* {
    auto* const body = g_dbus_message_get_body(message);
    auto left = kMaxValues;
    if (isIncoming == FALSE || body == nullptr) return message;
    if (g_variant_get_size(body) <= kMaxSize && count(body, left)) return message;
    g_object_unref(message);
    return nullptr;
  };
  g_dbus_connection_add_filter(bus, filter, nullptr, nullptr);
}

}  // namespace quill::xembed
