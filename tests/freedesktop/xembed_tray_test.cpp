#include <sys/syscall.h>

#include <atomic>
#include <ctime>

#include "panel_fixture.h"

/// What the clock of GLib and of the library shows, in milliseconds, while a test stops it; 0: the real time.
std::atomic<std::int64_t> stoppedClock = 0;

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
  const auto shown = stoppedClock.load();
  if (clock != CLOCK_MONOTONIC || shown == 0) return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  *time = {shown / 1000, shown % 1000 * 1'000'000};
  return 0;
}

namespace quill::freedesktop::tests {

/// An item, and one stand-in both for watchers and for the program that shows items in XEmbed trays. Time passes by
/// hand.
class XEmbedTray : public PanelTest {
 protected:
  XEmbedTray() {
    stoppedClock = 1'000'000;
    setenv("DISPLAY", ":7", 1);
    setenv("XAUTHORITY", "/cookies", 1);
    unsetenv("WAYLAND_DISPLAY");
    bus.start();
    panel = std::make_unique<Peer>(bus, std::initializer_list<const char*>{});
  }
  ~XEmbedTray() override { stoppedClock = 0; }

  /// Lets all messages pass that the last step causes, and notes the methods that were called.
  void settle() override {
    for (int roundTrip = 0; roundTrip < 6 && !panel->itemName.empty(); ++roundTrip) panel->takeSignals();
    for (const auto& call : std::exchange(panel->received, {})) {
      told.push_back(call.substr(0, call.find('(')));
      EXPECT_TRUE(told.back() != "Show" || call == "Show(objectpath '/StatusNotifierItem', ':7', '/cookies')") << call;
    }
  }
  void createAndWaitForCall() {
    manager->createTray();
    const auto time = desktop.mainQueue().repeat(1ms, [] { stoppedClock += 10; });
    runUntil([&] { return !panel->received.empty(); });
  }
  /// `hasHost` is what the watcher's property says; empty: it has no such property.
  void ownWatcher(const std::string& hasHost) {
    panel->replies["IsStatusNotifierHostRegistered"] = hasHost;
    own("watcher", kWatcher);
  }
  void own(const std::string& owner, const char* name) {
    auto* const connection = panel->connection.get();
    owned[owner] = g_bus_own_name_on_connection(connection, name, {}, nullptr, nullptr, nullptr, nullptr);
  }
  void registerHost() {
    panel->replies["IsStatusNotifierHostRegistered"] = "true";
    panel->emit("/StatusNotifierWatcher", kWatcher, "StatusNotifierHostRegistered");
  }

  std::map<std::string, guint> owned;
  const Actions actions = {{"create", [&](auto&) { createAndWaitForCall(); }},
                           {"set", setVariable},
                           {"wait", [](auto& milliseconds) { stoppedClock += std::stoi(milliseconds); }},
                           {"refuse", [&](auto& calls) { panel->refusals = std::stoi(calls); }},
                           {"program", [&](auto&) { own("program", "org.quill.TrayXEmbed"); }},
                           {"watcher", [&](auto& hasHost) { ownWatcher(hasHost); }},
                           {"host", [&](auto&) { registerHost(); }},
                           {"end", [&](auto& owner) { g_bus_unown_name(owned.at(owner)); }}};
};

TEST_F(XEmbedTray, HasTheItemWhileNoPanelShowsIt) { expectSteps("xembed_panels.txt", actions); }

TEST_F(XEmbedTray, ProgramThatFailsIsCalledWithGrowingDelays) { expectSteps("xembed_failures.txt", actions); }

TEST_F(XEmbedTray, WatcherThatRefusesTheItemIsCalledEightTimes) { expectSteps("registrations.txt", actions); }

}  // namespace quill::freedesktop::tests
