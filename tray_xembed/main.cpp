// Shows status items in the XEmbed tray of a desktop that has no panel for them. The session bus starts this program
// when a host's library calls it. One process serves the session and ends with its last item.

#include <cstdlib>
#include <map>
#include <memory>
#include <string_view>

#include "message_limits.h"
#include "shown_item.h"

namespace quill::xembed {
namespace {

constexpr auto kName = "org.quill.TrayXEmbed";
constexpr auto kPath = "/org/quill/TrayXEmbed";
constexpr auto kInterface =
    "<node><interface name='org.quill.TrayXEmbed'>"
    "<method name='Show'><arg name='path' type='o' direction='in'/><arg name='display' type='s' direction='in'/>"
    "<arg name='authority' type='s' direction='in'/></method>"
    "<method name='Hide'><arg name='path' type='o' direction='in'/></method></interface></node>";

constexpr std::size_t kMaxItems = 32;
/// If nothing calls Show for so long, the program ends.
constexpr guint kPatienceSeconds = 10;

class Service {
 public:
  explicit Service(GDBusConnection* bus) : bus_(bus) {}

  static void onCall(GDBusConnection*, const char* sender, const char*, const char*, const char* method,
                     GVariant* arguments, GDBusMethodInvocation* call, gpointer self) {
    auto& service = *static_cast<Service*>(self);
    const char *path = nullptr, *display = nullptr, *authority = nullptr;
    if (std::string_view(method) == "Hide") {
      g_variant_get(arguments, "(&o)", &path);
      service.hide({sender, path});
      return g_dbus_method_invocation_return_value(call, nullptr);
    }
    g_variant_get(arguments, "(&o&s&s)", &path, &display, &authority);
    if (service.show({sender, path}, display, authority)) return g_dbus_method_invocation_return_value(call, nullptr);
    g_dbus_method_invocation_return_dbus_error(call, "org.freedesktop.DBus.Error.LimitsExceeded", "Items or display");
  }
  static gboolean onTimeout(gpointer self) { return static_cast<Service*>(self)->endIfUnused(), FALSE; }

 private:
  /// A process's unique name, and the path of an item of its own.
  using Key = std::pair<std::string, std::string>;

  bool show(const Key& key, const std::string& display, const char* authority) {
    if (items_.contains(key)) return true;
    if (items_.size() == kMaxItems || !isOpen(display, authority)) return false;
    // Copies the key, because hide() destroys the function that holds it.
    items_.emplace(key, std::make_unique<ShownItem>(bus_, key.first, key.second, [this, key] { hide(Key(key)); }));
    return true;
  }
  void hide(const Key& key) {
    items_.erase(key);
    endIfUnused();
  }
  void endIfUnused() const {
    if (items_.empty()) gtk_main_quit();
  }
  /// Whether `display` is the session's: the first one in a call of Show. Only local ones, because connecting to
  /// another machine can block.
  bool isOpen(std::string display, const char* authority) {
    display = display.substr(0, display.find('.'));  // some window managers append the screen's number
    const bool isLocal = display.starts_with(':') || display.starts_with("localhost:");
    if (display_.empty() && isLocal) {
      if (g_file_test(authority, G_FILE_TEST_IS_REGULAR)) setenv("XAUTHORITY", authority, 1);
      if (gdk_display_open(display.c_str()) != nullptr) display_ = display;
    }
    return !display.empty() && display == display_;
  }

  GDBusConnection* bus_;  // not owned
  std::string display_;   // empty: not connected
  std::map<Key, std::unique_ptr<ShownItem>> items_;
};

}  // namespace
}  // namespace quill::xembed

int main() {
  using namespace quill::xembed;
  gdk_set_allowed_backends("x11");
  gtk_parse_args(nullptr, nullptr);
  const quill::freedesktop::ObjectPointer<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  if (!bus) return EXIT_FAILURE;
  limitMessages(bus.get());
  Service service(bus.get());
  const GDBusInterfaceVTable table{Service::onCall, nullptr, nullptr, {}};
  g_autoptr(GDBusNodeInfo) node = g_dbus_node_info_new_for_xml(kInterface, nullptr);
  g_dbus_connection_register_object(bus.get(), kPath, node->interfaces[0], &table, &service, nullptr, nullptr);
  const auto lost = [](auto...) { gtk_main_quit(); };
  g_bus_own_name_on_connection(bus.get(), kName, G_BUS_NAME_OWNER_FLAGS_DO_NOT_QUEUE, nullptr, lost, nullptr, nullptr);
  g_timeout_add_seconds(kPatienceSeconds, Service::onTimeout, &service);
  gtk_main();
  g_dbus_connection_flush_sync(bus.get(), nullptr, nullptr);  // the reply to the last call
  return EXIT_SUCCESS;
}
