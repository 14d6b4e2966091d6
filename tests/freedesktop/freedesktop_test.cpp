#include <malloc.h>
#include <sys/resource.h>

#include <ctime>

#include "bus_handshake.h"
#include "dbusmenu.h"
#include "host_application.h"
#include "panel_fixture.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop::tests {

using Freedesktop = PanelTest;

TEST_F(Freedesktop, ItemRegistersOnceWithEachWatcherOnEachBus) {
  bus.start();
  auto shown = desktop.makeStatusItem(kSquareStatusItemLength);
  runFor(50ms);  // no watcher yet
  const std::string registration = "RegisterStatusNotifierItem('/StatusNotifierItem',)";
  startPanel({kWatcher}, 4);
  panel->takeSignals();
  EXPECT_EQ(panel->received, std::vector(5, registration));
  for (int i = 0; i < 10; ++i) {
    panel.reset();
    if (i >= 5) {
      bus.kill();
      runFor((i - 4) * 50ms);  // the new one is there before or after the first attempts
      bus.start();
    }
    startPanel();
    EXPECT_THAT(panel->takeSignals(), IsEmpty());
    EXPECT_THAT(panel->received, ElementsAre(registration));
  }
  shown.reset();
  EXPECT_EQ(panel->menu(), "error");
}

TEST_F(Freedesktop, ItemWaitsForTheBusOfAUsableAddress) {
  std::vector<std::shared_ptr<StatusItem>> waiting;
  const auto canMakeAt = [&](const std::string& address) {
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    return waiting.emplace_back(desktop.makeStatusItem(22)) != nullptr;
  };
  unsetenv("XDG_RUNTIME_DIR");
  EXPECT_FALSE(canMakeAt("unix:runtime=yes"));
  setenv("XDG_RUNTIME_DIR", bus.directory.c_str(), 1);
  for (auto [address, outcome] : casesIn(CASES "addresses.txt")) {
    if (const auto at = address.find("LONGEST"); at != std::string::npos) address.replace(at, 7, times(107, "/"));
    EXPECT_EQ(canMakeAt(address), outcome == "usable") << address;
  }
  EXPECT_TRUE(canMakeAt("unix:path=%;tcp:host=nowhere.invalid,port=1;" + bus.address()));
  const auto before = std::clock();
  runFor(500ms);
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20);
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  EXPECT_EQ(desktop.makeStatusItem(22), nullptr);
  bus.start();
  waiting.push_back(desktop.makeStatusItem(22));
  startPanel();
  EXPECT_TRUE(runUntil([&] { return panel->received.size() == 3; })) << "also of those which were there before";
}

TEST_F(Freedesktop, SandboxsConnectionAvoidsTheStandardStreams) {
  bus.start();
  close(STDIN_FILENO);
  BusHandshake handshake(bus.address());
  sd_bus* made = nullptr;
  ASSERT_GE(sd_bus_new(&made), 0);
  const BusHandle connection(made);
  EXPECT_GT(handshake.finish(10s), 0);
  EXPECT_GE(handshake.start(made), 0);
  EXPECT_GT(sd_bus_get_fd(made), STDERR_FILENO);
}

TEST_F(Freedesktop, ChangedItemSignalsEachChangeOnce) {
  g_set_prgname("named");
  showInPanel();
  EXPECT_EQ(panel->get("Id"), "(<'named'>,)");
  const auto icon = image(1);
  item->button()->setImage(icon);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon()"));
  item->button()->setImage(std::nullopt);
  item->button()->setImage(icon);
  item->button()->setNeedsDisplay(true);
  item->button()->setImage(image(1));  // the same pixels, decoded anew
  EXPECT_THAT(panel->takeSignals(), IsEmpty());
  item->button()->setHidden(true);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewStatus('Passive',)"));
  g_set_application_name("Renamed");
  item->button()->setNeedsDisplay(true);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewTitle()", "NewToolTip()"));
}

TEST_F(Freedesktop, FrameKeepsOnlyThePixelsThatPanelsRead) {
  if (kIsSanitized) GTEST_SKIP() << "a sanitizer keeps what was given back";
  constexpr long kPanelReads = (22 * 22 + 44 * 44) * 4;
  for (const int side : {64, 128, 512, 1024}) {
    const auto before = mallinfo2();  // in use: what is freed may stay dirty for a while
    for (int i = 1; i <= 30; ++i) manager->addAnimationFrame({std::make_shared<Pixels>(pixels(i, side)), {22, 22}});
    const auto after = mallinfo2();
    const auto kept = after.uordblks + after.hblkhd - before.uordblks - before.hblkhd;
    EXPECT_LE(static_cast<long>(kept), 30 * (kPanelReads + 20 * 1024)) << side;
  }
}

TEST_F(Freedesktop, HostIsCalledForOneChoiceATurnAndExcessiveCallsAreRejected) {
  showInPanel();
  static Peer* const reader = panel.get();
  static std::string seenByHost;
  manager->setClickCallback([] { seenByHost += reader->menu(); });  // the panel is served meanwhile
  for (const char* method : {"Activate", "ContextMenu", "SecondaryActivate"}) panel->call(kItem, method, "(1, 2)");
  panel->takeSignals();
  EXPECT_EQ(seenByHost, panel->menu());
  const auto* const group = "([(1, 'clicked', <0>, uint32 0), (1, 'closed', <0>, 0), (999, 'clicked', <0>, 0)],)";
  EXPECT_EQ(panel->call(kMenu, "EventGroup", group), "([999],)");
  panel->takeSignals();
  EXPECT_THAT(std::exchange(told, {}), ElementsAre("a"));
  const auto callWithList = [&](const char* method, std::size_t count, const std::string& element) {
    return panel->call(kMenu, method, ("([" + times(count - 1, element + ",") + element + "],)").c_str());
  };
  const std::string choice = "(1, 'clicked', <0>, uint32 0)";
  EXPECT_EQ(callWithList("EventGroup", DBusMenu::kMaxChoices + 1, choice), "error");
  EXPECT_EQ(callWithList("EventGroup", DBusMenu::kMaxChoices, choice), "(@ai [],)");
  for (std::size_t before = told.size(); before < DBusMenu::kMaxChoices; before = told.size()) {
    g_main_context_iteration(nullptr, TRUE);
    ASSERT_LE(told.size(), before + 1);
  }
  EXPECT_EQ(callWithList("AboutToShowGroup", 250'001, "1"), "error");
  const auto names = "([1], ['label'" + times(299, ",'label'") + "])";
  EXPECT_EQ(panel->call(kMenu, "GetGroupProperties", names.c_str()), "error");
}

TEST_F(Freedesktop, ClickWaitsWhileAsManyCallbacksAsTheLimitRunAMainLoop) {
  static int depth = 0, deepest = 0, clicks = 0;
  constexpr int kClicks = 100;
  showInPanel();
  manager->setClickCallback([] {
    ++clicks, deepest = std::max(deepest, ++depth);
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
    --depth;
  });
  for (int i = 0; i < kClicks; ++i) {
    g_dbus_connection_call(panel->connection.get(), panel->itemName.c_str(), "/StatusNotifierItem", kItem, "Activate",
                           g_variant_new("(ii)", 1, 2), nullptr, {}, -1, nullptr, nullptr, nullptr);
  }
  EXPECT_TRUE(runUntil([] { return clicks == kClicks; }));
  EXPECT_THAT(deepest, AllOf(Gt(1), Le(HostCalls::kMaxDepth)));
}

TEST_F(Freedesktop, ChangedMenuSignalsTheLeastAndKeepsEntriesThatAPanelMayHaveOpen) {
  showInPanel();
  expectReplies("calls.txt");
  EXPECT_THAT(told, IsEmpty());
  using Item = TrayManager::MenuItemData;
  const Item a{"a", "A", true, ""};
  const Item off{"b", "_B<", false, "Cmd+Ctrl+Alt+Shift+-"};
  const Item on{"b", "_B<", true, ""};
  const Item b{"b", std::string("B\0", 2), true, ""};
  // The items, what is signalled, and what the host is told when each entry is chosen that ever was.
  const std::tuple<std::vector<Item>, Lines, Lines> steps[] = {
      {{a, off}, {}, {"a"}},
      {{a, on}, {"ItemsPropertiesUpdated([(2, {'enabled': <true>})], [(2, ['shortcut'])])"}, {"a", "b"}},
      {{a, b}, {"ItemsPropertiesUpdated([(2, {'label': <'B\uFFFD'>})], @a(ias) [])"}, {"a", "b"}},
      {{b, a}, {"LayoutUpdated(uint32 3, 0)"}, {"a", "b", "b", "a"}},
      {{b, a, a}, {"LayoutUpdated(uint32 4, 0)"}, {"b", "a", "b", "a", "a"}},
      {{b}, {"LayoutUpdated(uint32 5, 0)"}, {"b", "a", "b"}},  // nobody has read the one before
      {{}, {"LayoutUpdated(uint32 6, 0)"}, {"b"}},
      {{}, {}, {"b"}}};
  for (const auto& [items, signals, choices] : steps) {
    manager->setMenuItems(items);
    EXPECT_EQ(panel->takeSignals(), signals);
    const bool isUnread = !signals.empty() && signals[0].starts_with("LayoutUpdated");
    EXPECT_EQ(panel->call(kMenu, "AboutToShow", "(0,)"), isUnread ? "(true,)" : "(false,)");
    EXPECT_EQ(panel->call(kMenu, "AboutToShowGroup", "([0, 0],)"), isUnread ? "([0], @ai [])" : "(@ai [], @ai [])");
    EXPECT_EQ(chooseAll(), choices);
    if (items.size() < 3) panel->menu();
  }
}

TEST_F(Freedesktop, TimerWithoutASpareDescriptorTicks) {
  if (kIsSanitized) GTEST_SKIP() << "a sanitizer needs descriptors itself";
  g_main_context_default();  // which cannot do without one
  const rlimit none{0, 99}, some{99, 99};
  setrlimit(RLIMIT_NOFILE, &none);
  int ticks = 0;
  const auto timer = desktop.mainQueue().repeat(2ms, [&] { ++ticks; });
  setrlimit(RLIMIT_NOFILE, &some);
  EXPECT_TRUE(runUntil([&] { return ticks >= 3; }));
}

TEST_F(Freedesktop, HostsApplicationGetsTokensAndTheRequestToQuit) {
  auto* const functions = G_APPLICATION_GET_CLASS(application.get());
  functions->before_emit = [](GApplication*, GVariant* data) { told.push_back("before " + text(data)); };
  functions->after_emit = [](GApplication*, GVariant* data) { told.push_back("after " + text(data)); };
  static int signals = 0;
  std::signal(SIGTERM, [](int) { ++signals; });
  desktop.terminate();
  g_application_set_default(application.get());
  desktop.terminate();  // not registered
  EXPECT_EQ(signals, 2);
  showInPanel();
  const auto clickWithToken = [&](const char* token) {
    if (token != nullptr) panel->call(kItem, "ProvideXdgActivationToken", "(%s,)", token);
    panel->call(kItem, "Activate", "(0, 0)");
    panel->takeSignals();
    return std::exchange(told, {});
  };
  EXPECT_THAT(clickWithToken("early"), ElementsAre("click"));  // not registered
  ASSERT_TRUE(registerApplication());
  const std::string data = "{'desktop-startup-id': <'t1'>, 'activation-token': <'t1'>}";
  EXPECT_THAT(clickWithToken("t1"), ElementsAre("before " + data, "click", "after " + data));
  EXPECT_THAT(clickWithToken(nullptr), ElementsAre("click"));
  panel->call(kItem, "ProvideXdgActivationToken", "('t1',)");
  panel->choose(1);
  panel->takeSignals();
  EXPECT_THAT(std::exchange(told, {}), ElementsAre("before " + data, "a", "after " + data));

  addAction(application.get(), "quit");
  desktop.terminate();
  EXPECT_THAT(told, ElementsAre("quit"));
  g_action_map_remove_action(G_ACTION_MAP(application.get()), "quit");
  const auto holdAndTerminate = +[](GApplication* held) { g_application_hold(held), terminateHost(); };
  g_signal_connect(application.get(), "activate", G_CALLBACK(holdAndTerminate), nullptr);
  g_application_run(application.get(), 0, nullptr);  // comes back
  EXPECT_EQ(signals, 2);
}

}  // namespace quill::freedesktop::tests
