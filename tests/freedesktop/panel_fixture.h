#pragma once

#include <gio/gio.h>

#include <map>
#include <optional>
#include <sstream>

#include "freedesktop_desktop.h"
#include "gobject_handles.h"
#include "page_memory.h"
#include "private_bus.h"
#include "tray_manager.h"

namespace quill::freedesktop {

/// Runs the default main context until `done` holds; false: not within `limit`.
inline bool runUntil(const std::function<bool()>& done, std::chrono::nanoseconds limit = 10s) {
  bool expired = false;
  const auto deadline = GlibMainQueue().repeat(limit, [&] { expired = true; });
  while (!done() && !expired) g_main_context_iteration(nullptr, TRUE);
  return done();
}
inline void runFor(std::chrono::nanoseconds duration) {
  runUntil([] { return false; }, duration);
}

/// As GLib prints it; "error" for a reply that is none.
inline std::string text(GVariant* value) {
  return value != nullptr ? GCharPointer(g_variant_print(value, TRUE)).get() : "error";
}

inline constexpr auto kItem = "org.kde.StatusNotifierItem";
inline constexpr auto kMenu = "com.canonical.dbusmenu";
inline constexpr auto kWatcher = "org.kde.StatusNotifierWatcher";

/// A panel or anybody else on the bus, in the same main context as what it talks to.
struct Peer {
  explicit Peer(const PrivateBus& bus, std::initializer_list<const char*> names = {kWatcher})
      : connection(g_dbus_connection_new_for_address_sync(
            bus.address().c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr)) {
    static const GDBusNodeInfo* const served =
        g_dbus_node_info_new_for_xml(contents(CASES "../freedesktop/peers.xml").c_str(), nullptr);
    static const GDBusInterfaceVTable table{onCall, onGet, nullptr, {}};
    for (auto* const* node = served->nodes; *node != nullptr; ++node)
      g_dbus_connection_register_object(connection.get(), (std::string("/") + (*node)->path).c_str(),
                                        (*node)->interfaces[0], &table, this, nullptr, nullptr);
    g_dbus_connection_signal_subscribe(connection.get(), nullptr, nullptr, nullptr, nullptr, nullptr, {}, onSignal,
                                       this, nullptr);
    for (const auto* name : names)
      g_bus_own_name_on_connection(connection.get(), name, {}, nullptr, nullptr, nullptr, nullptr);
  }
  ~Peer() {
    g_dbus_connection_close_sync(connection.get(), nullptr, nullptr);
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;  // what came in before
  }

  bool waitForItem() const {
    return runUntil([this] { return !itemName.empty(); });
  }
  /// Calls a method of the item or of its menu, or reads properties of theirs. Returns the reply's text().
  std::string call(std::string_view interface, std::string_view method, const std::string& arguments) const {
    const auto keep = [](GObject* called, GAsyncResult* result, gpointer kept) {
      const VariantPointer reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(called), result, nullptr));
      *static_cast<std::string*>(kept) = text(reply.get());
    };
    std::string reply;
    g_dbus_connection_call(
        connection.get(), itemName.c_str(), interface == kMenu ? "/MenuBar" : "/StatusNotifierItem",
        method.starts_with("Get") && method.size() < 7 ? "org.freedesktop.DBus.Properties" : interface.data(),
        method.data(), g_variant_new_parsed(arguments.c_str()), nullptr, {}, 9000, nullptr, keep, &reply);
    runUntil([&] { return !reply.empty(); });
    return reply;
  }
  std::string get(const char* property) const {
    return call(kItem, "Get", std::string("('") + kItem + "', '" + property + "')");
  }
  std::string menu() const { return call(kMenu, "GetLayout", "(0, -1, @as [])"); }
  std::string choose(std::int32_t id) const {
    return call(kMenu, "Event", "(" + std::to_string(id) + ", 'clicked', <0>, uint32 0)");
  }
  void emit(const char* path, const char* interface, const char* signal, GVariant* arguments = nullptr) const {
    g_dbus_connection_emit_signal(connection.get(), nullptr, path, interface, signal, arguments, nullptr);
  }
  /// What the item has signalled since the last call, once all is shown that was changed before.
  Lines takeSignals() {
    bool presented = false;
    GlibMainQueue().post([&] { presented = true; });
    runUntil([&] { return presented; });
    call(kMenu, "AboutToShow", "(0,)");  // its reply comes after them
    return std::exchange(signals, {});
  }

  std::string itemName;  ///< whose signals are noted: who has called last
  Lines received;        ///< calls
  int refusals = 0;      ///< of the next calls
  Lines signals;
  std::map<std::string, std::string> replies;  ///< by method or property; others return nothing, or an error

  static void onCall(GDBusConnection*, const char* sender, const char*, const char*, const char* method,
                     GVariant* arguments, GDBusMethodInvocation* call, gpointer self) {
    auto& peer = *static_cast<Peer*>(self);
    peer.received.push_back(method + text(arguments));
    if (peer.refusals-- > 0) return g_dbus_method_invocation_return_dbus_error(call, "org.example.NotYet", "");
    peer.itemName = sender;
    const auto reply = peer.replies.find(method);
    g_dbus_method_invocation_return_value(
        call, reply == peer.replies.end() ? nullptr : g_variant_new_parsed(reply->second.c_str()));
  }
  static GVariant* onGet(GDBusConnection*, const char*, const char*, const char*, const char* property, GError** error,
                         gpointer self) {
    const auto& value = static_cast<Peer*>(self)->replies[property];
    if (value.empty()) g_set_error(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_PROPERTY, "none");
    return value.empty() ? nullptr : g_variant_new_parsed(value.c_str());
  }
  static void onSignal(GDBusConnection*, const char* sender, const char*, const char*, const char* signal,
                       GVariant* arguments, gpointer self) {
    auto& peer = *static_cast<Peer*>(self);
    if (sender == peer.itemName) peer.signals.push_back(signal + text(arguments));
  }

  ObjectPointer<GDBusConnection> connection;
};

struct Manager : TrayManager {
  using TrayManager::make, TrayManager::menu, TrayManager::statusItem, TrayManager::TrayManager;
};

/// An item on a private bus, and a panel that reads it.
class PanelTest : public Test {
 protected:
  PanelTest() {
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    setenv("HOME", TempDir().c_str(), 1);
    g_application_set_default(nullptr);  // which the first one made becomes
    manager->setClickCallback([] { told.emplace_back("click"); });
    manager->setMenuItemCallback([](const char* identifier) { told.emplace_back(identifier); });
  }

  /// A panel that waits for an item.
  void startPanel(std::initializer_list<const char*> names = {kWatcher}) {
    panel.reset();
    panel = std::make_unique<Peer>(bus, names);
    ASSERT_TRUE(panel->waitForItem());
  }
  /// An item with two entries in a panel.
  void showInPanel(std::initializer_list<const char*> panelNames = {kWatcher}) {
    bus.start();
    manager->setMenuItems({{"a", "A", true, ""}, {"b", "_B<", false, "Cmd+Ctrl+Alt+Shift+-"}});
    manager->createTray();
    startPanel(panelNames);
    panel->takeSignals();
  }
  /// To the calls in a table, each an interface, a method and its arguments.
  void expectReplies(const char* table) const {
    for (const auto& [call, reply] : casesIn(std::string(CASES) + table)) {
      std::istringstream words(call);
      std::string interface, method, arguments;
      std::getline(words >> interface >> method >> std::ws, arguments);
      EXPECT_EQ(panel->call(interface, method, arguments), reply) << call;
    }
  }
  /// What a word of a table's steps does; the argument follows the word behind a colon.
  using Actions = std::map<std::string, std::function<void(const std::string& argument)>>;
  /// Compares what the steps of each line let the test note in `told`.
  void expectSteps(const char* table, const Actions& actions) {
    for (const auto& [steps, expected] : casesIn(std::string(CASES) + table)) {
      std::istringstream words(steps);
      for (std::string word; words >> word; settle()) {
        const auto name = word.substr(0, word.find(':'));
        actions.at(name)(word.substr(std::min(name.size() + 1, word.size())));
      }
      std::string noted;
      for (const auto& line : std::exchange(told, {})) noted += (noted.empty() ? "" : ", ") + line;
      EXPECT_EQ(noted.empty() ? "nothing" : noted, expected) << steps;
    }
  }
  /// Sets a variable of the environment; `setting` is "NAME=value".
  static void setVariable(const std::string& setting) {
    const auto end = setting.find('=');
    setenv(setting.substr(0, end).c_str(), setting.substr(end + 1).c_str(), 1);
  }
  /// Called after each step.
  virtual void settle() {
    for (const auto& signal : panel->takeSignals()) told.push_back(signal);
  }
  /// Chooses each entry that there ever was; answers with what the host is told.
  Lines chooseAll() {
    for (int id = 1; id < 30; ++id) panel->choose(id);
    panel->takeSignals();
    return std::exchange(told, {});
  }
  /// Adds an action to a map, which notes that it was activated.
  static void addAction(gpointer map, const char* name, const char* parameter = nullptr, const char* state = nullptr) {
    const auto note = +[](GSimpleAction* action, GVariant* target, gpointer) {
      told.push_back(g_action_get_name(G_ACTION(action)) + (target != nullptr ? " " + text(target) : ""));
    };
    const GActionEntry entry{name, note, parameter, state, nullptr, {}};
    g_action_map_add_action_entries(G_ACTION_MAP(map), &entry, 1, nullptr);
  }
  bool registerApplication() {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);  // GIO's own connection would outlive the bus
    return g_application_register(application.get(), nullptr, nullptr) != FALSE;
  }
  /// Different for each number.
  static Pixels pixels(int number, int side = 44) {
    const auto width = static_cast<std::size_t>(side);
    Pixels made(side, side, std::pmr::vector<std::uint8_t>(width * width * 4, posix::pageMemory()));
    for (std::size_t i = 0; i < width * static_cast<std::size_t>(number); ++i) made.rgba[i * 4 + 3] = 255;
    return made;
  }
  /// As the manager shows it.
  Image image(int number) {
    Image made(std::make_shared<Pixels>(pixels(number)), {22, 22});
    made.setTemplate(true);
    desktop.prepare(made);
    return made;
  }

  PrivateBus bus;
  const ObjectPointer<GApplication> application{g_application_new("org.example.Host", G_APPLICATION_NON_UNIQUE)};
  Desktop desktop;
  std::shared_ptr<Manager> manager = Manager::make<Manager>(desktop);
  std::shared_ptr<StatusItem>& item = manager->statusItem;
  std::unique_ptr<Peer> panel;
  static inline Lines told;
};

}  // namespace quill::freedesktop
