#include "panel_fixture.h"

namespace quill::freedesktop::tests {

constexpr auto kProgram = "org.quill.TrayXEmbed";

/// An item, and one stand-in both for watchers and for the program that shows items in XEmbed trays.
class XEmbedTray : public PanelTest {
 protected:
  XEmbedTray() {
    setenv("DISPLAY", ":7", 1);
    setenv("XAUTHORITY", "/cookies", 1);
    unsetenv("WAYLAND_DISPLAY");
    bus.start();
    panel = std::make_unique<Peer>(bus, std::initializer_list<const char*>{});
  }
  guint own(const char* name, std::optional<bool> hasHost = {}, int refusals = 0) {
    panel->hasHost = hasHost;
    panel->refusals = refusals;
    return g_bus_own_name_on_connection(panel->connection.get(), name, {}, nullptr, nullptr, nullptr, nullptr);
  }
  /// Waits for calls, given by their first letters: Show, Hide, RegisterStatusNotifierItem. Returns the time waited.
  std::chrono::nanoseconds expectCalls(std::string_view letters) {
    const auto start = monotonicNow();
    runUntil([&] { return panel->received.size() >= letters.size(); });
    const auto time = monotonicNow() - start;
    runFor(100ms);
    std::string called;
    for (const auto& call : std::exchange(panel->received, {})) called += call.front();
    EXPECT_EQ(called, letters);
    return time;
  }
};

TEST_F(XEmbedTray, IsNotAskedWhereForbiddenAndWithAPanelThatComesAndGoesNeverShowsTheItemTwice) {
  own(kProgram);
  std::vector<std::shared_ptr<StatusItem>> forbidden;
  for (const auto& [variable, value] :
       {std::pair{"QUILL_TRAY_XEMBED", "0"}, {"WAYLAND_DISPLAY", "wayland-0"}, {"DISPLAY", ""}}) {
    setenv(variable, value, 1);
    manager->createTray();
    forbidden.push_back(item);
    runFor(150ms);
    unsetenv(variable);
  }
  setenv("DISPLAY", ":7", 1);
  manager->createTray();
  runUntil([&] { return !panel->received.empty(); });
  EXPECT_THAT(panel->received, ElementsAre("Show(objectpath '/StatusNotifierItem', ':7', '/cookies')"));
  expectCalls("S");
  forbidden.clear();
  auto watcher = own(kWatcher, true);
  expectCalls("HR");
  g_bus_unown_name(watcher);
  runFor(500ms);
  watcher = own(kWatcher, true);
  expectCalls("R");  // the panel was away for less than a second
  g_bus_unown_name(watcher);
  EXPECT_GE(expectCalls("S"), 900ms);
  watcher = own(kWatcher, false);
  expectCalls("R");  // the item stays in the tray, because the watcher has no host
  panel->hasHost = true;
  g_dbus_connection_emit_signal(panel->connection.get(), nullptr, "/StatusNotifierWatcher", kWatcher,
                                "StatusNotifierHostRegistered", nullptr, nullptr);
  expectCalls("H");
  g_bus_unown_name(watcher);
  expectCalls("S");
  own(kWatcher, std::nullopt, 2);
  expectCalls("RRRH");  // the third registration is accepted
}

TEST_F(XEmbedTray, WhereTheProgramFailsIsAskedWithGrowingDelaysAndWhereItIsMissingOnce) {
  manager->createTray();
  runFor(1200ms);
  const auto program = own(kProgram);
  runFor(2200ms);
  expectCalls("");
  const auto watcher = own(kWatcher, true);
  expectCalls("R");
  g_bus_unown_name(watcher);
  panel->refusals = 1;
  expectCalls("S");
  EXPECT_GE(expectCalls("S"), 1800ms);
  g_bus_unown_name(program);
  own(kProgram);
  EXPECT_GE(expectCalls("S"), 3800ms);
}

}  // namespace quill::freedesktop::tests
