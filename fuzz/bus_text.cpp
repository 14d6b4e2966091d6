#include "bus_text.h"

#include <gio/gio.h>

#include <algorithm>
#include <array>
#include <sstream>

#include "glib_handles.h"
#include "gobject_handles.h"

namespace quill::fuzz {
namespace {

struct Kind {
  std::string_view word;
  GDBusMessageType type;
  const char* path;
  const char* interface;
  const char* sender = ":1.7";
};
constexpr std::array kKinds{
    Kind{"item", G_DBUS_MESSAGE_TYPE_METHOD_CALL, "/StatusNotifierItem", "org.kde.StatusNotifierItem"},
    Kind{"menu", G_DBUS_MESSAGE_TYPE_METHOD_CALL, "/MenuBar", "com.canonical.dbusmenu"},
    Kind{"item-properties", G_DBUS_MESSAGE_TYPE_METHOD_CALL, "/StatusNotifierItem", "org.freedesktop.DBus.Properties"},
    Kind{"menu-properties", G_DBUS_MESSAGE_TYPE_METHOD_CALL, "/MenuBar", "org.freedesktop.DBus.Properties"},
    Kind{"introspect", G_DBUS_MESSAGE_TYPE_METHOD_CALL, "/MenuBar", "org.freedesktop.DBus.Introspectable"},
    Kind{"no-interface", G_DBUS_MESSAGE_TYPE_METHOD_CALL, "/StatusNotifierItem", nullptr},
    Kind{"nowhere", G_DBUS_MESSAGE_TYPE_METHOD_CALL, "/", "com.canonical.dbusmenu"},
    Kind{"bus", G_DBUS_MESSAGE_TYPE_SIGNAL, "/org/freedesktop/DBus", "org.freedesktop.DBus", "org.freedesktop.DBus"},
    Kind{"reply", G_DBUS_MESSAGE_TYPE_METHOD_RETURN, nullptr, nullptr, "org.freedesktop.DBus"},
    Kind{"error", G_DBUS_MESSAGE_TYPE_ERROR, nullptr, nullptr, "org.freedesktop.DBus"},
};

}  // namespace

std::optional<Message> messageOf(const std::string& line, std::uint32_t serial) {
  const bool isQuiet = line.starts_with('-');
  std::istringstream words(isQuiet ? line.substr(1) : line);
  std::string word;
  words >> word;
  const auto* const kind = std::ranges::find(kKinds, word, &Kind::word);
  if (kind == kKinds.end()) return std::nullopt;

  const freedesktop::ObjectPointer<GDBusMessage> message(g_dbus_message_new());
  g_dbus_message_set_message_type(message.get(), kind->type);
  g_dbus_message_set_serial(message.get(), serial);
  if (kind->path != nullptr) g_dbus_message_set_path(message.get(), kind->path);
  if (kind->interface != nullptr) g_dbus_message_set_interface(message.get(), kind->interface);
  g_dbus_message_set_sender(message.get(), kind->sender);
  if (isQuiet) g_dbus_message_set_flags(message.get(), G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED);
  const bool isCall = kind->type == G_DBUS_MESSAGE_TYPE_METHOD_CALL;
  const bool isError = kind->type == G_DBUS_MESSAGE_TYPE_ERROR;
  if (isCall || kind->type == G_DBUS_MESSAGE_TYPE_SIGNAL) {
    words >> word;
    if (g_dbus_is_member_name(word.c_str()) == FALSE) return std::nullopt;
    g_dbus_message_set_member(message.get(), word.c_str());
  } else {
    std::uint32_t answered = 0;
    words >> answered;
    if (answered == 0) return std::nullopt;  // a bus rejects such a message, and libsystemd 257 leaks it
    g_dbus_message_set_reply_serial(message.get(), answered);
    if (isError) {
      words >> word;
      if (g_dbus_is_error_name(word.c_str()) == FALSE) return std::nullopt;
      g_dbus_message_set_error_name(message.get(), word.c_str());
    }
  }
  if (kind->type != G_DBUS_MESSAGE_TYPE_SIGNAL) g_dbus_message_set_destination(message.get(), kItemName.data());

  std::string text;
  std::getline(words, text);
  if (g_utf8_validate_len(text.data(), text.size(), nullptr) == FALSE) text = "";
  GVariant* const values = g_variant_parse(nullptr, text.data(), text.data() + text.size(), nullptr, nullptr);
  const freedesktop::VariantPointer owned(values);
  if (values != nullptr && g_variant_is_of_type(values, G_VARIANT_TYPE_TUPLE) != FALSE) {
    g_dbus_message_set_body(message.get(), values);
  }
  gsize size = 0;
  const std::unique_ptr<guchar, Deleter<g_free>> bytes(
      g_dbus_message_to_blob(message.get(), &size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr));
  if (!bytes) return std::nullopt;
  return Message{std::string(reinterpret_cast<const char*>(bytes.get()), size), isCall && !isQuiet};
}

}  // namespace quill::fuzz
