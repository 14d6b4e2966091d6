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
  for (int i = 0; i < 10; ++i) {
    const int refusals = i == 0 ? 4 : 0;
    panel.reset();
    if (i >= 5) {
      bus.kill();
      runFor((i - 4) * 50ms);  // the new bus starts before or after the first attempts
      bus.start();
    }
    startPanel({kWatcher}, refusals);
    panel->takeSignals();
    const std::string registration = "RegisterStatusNotifierItem('/StatusNotifierItem',)";
    EXPECT_THAT(panel->received, AllOf(SizeIs(refusals + 1), Each(registration)));
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

TEST_F(Freedesktop, PanelIsServedWhileTheHostHandlesAClick) {
  showInPanel();
  static Peer* const reader = panel.get();
  manager->setClickCallback([] { told.push_back(reader->menu()); });
  for (const char* method : {"Activate", "ContextMenu", "SecondaryActivate"}) panel->call(kItem, method, "(1, 2)");
  panel->takeSignals();
  EXPECT_THAT(told, ElementsAre(panel->menu()));
}

TEST_F(Freedesktop, CallBeyondALimitIsRejected) {
  showInPanel();
  const std::string choice = "(1, 'clicked', <0>, uint32 0)";
  const std::tuple<const char*, std::string, std::string, std::size_t, std::string> calls[] = {
      {"EventGroup", "([", choice, DBusMenu::kMaxChoices + 1, "],)"},
      {"AboutToShowGroup", "([", "1", 250'001, "],)"},
      {"GetGroupProperties", "([1], [", "'label'", 257, "])"}};
  for (const auto& [method, start, element, count, end] : calls) {
    const auto arguments = start + times(count - 1, element + ",") + element + end;
    EXPECT_EQ(panel->call(kMenu, method, arguments.c_str()), "error") << method;
  }
}

TEST_F(Freedesktop, ChoicesReachTheHostOneATurnAndWaitBelowAsManyMainLoopsAsTheLimit) {
  showInPanel();
  static int depth = 0, deepest = 0;
  static bool runsMainLoop = false;
  manager->setMenuItemCallback([](const char* identifier) {
    told.emplace_back(identifier);
    deepest = std::max(deepest, ++depth);
    while (runsMainLoop && g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
    --depth;
  });
  const std::string choice = "(1, 'clicked', <0>, uint32 0)";
  const auto group = "([" + times(DBusMenu::kMaxChoices - 1, choice + ",") + choice + "],)";
  for (const bool isNested : {false, true}) {
    told.clear();
    runsMainLoop = isNested;
    EXPECT_EQ(panel->call(kMenu, "EventGroup", group.c_str()), "(@ai [],)");
    for (std::size_t before = told.size(); before < DBusMenu::kMaxChoices; before = told.size()) {
      g_main_context_iteration(nullptr, TRUE);
      ASSERT_TRUE(isNested || told.size() <= before + 1);
    }
    EXPECT_EQ(deepest, isNested ? HostCalls::kMaxDepth : 1);
  }
}

TEST_F(Freedesktop, EachCallHasItsReply) {
  showInPanel();
  expectReplies("calls.txt");
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(Freedesktop, ChangedMenuSignalsTheLeastAndKeepsEntriesThatAPanelMayHaveOpen) {
  using Item = TrayManager::MenuItemData;
  std::map<char, Item> items = {{'a', {"a", "A", true, ""}},
                                {'-', {"b", "_B<", false, "Cmd+Ctrl+Alt+Shift+-"}},
                                {'+', {"b", "_B<", true, ""}},
                                {'b', {"b", std::string("B\0", 2), true, ""}}};
  showInPanel();
  const auto setItems = [&](const std::string& names) {
    std::vector<Item> listed;
    for (const char name : names) listed.push_back(items.at(name));
    manager->setMenuItems(listed);
  };
  const auto aboutToShow = [&](auto&) {
    told.push_back(panel->call(kMenu, "AboutToShow", "(0,)"));
    told.push_back(panel->call(kMenu, "AboutToShowGroup", "([0, 0],)"));
  };
  expectSteps("menus.txt", {{"set", setItems},
                            {"about-to-show", aboutToShow},
                            {"choose-all", [&](auto&) { told = chooseAll(); }},
                            {"read", [&](auto&) { panel->menu(); }}});
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

TEST_F(Freedesktop, HostsApplicationQuitsByItsActionElseByItselfElseByTheSignal) {
  static int signals = 0;
  std::signal(SIGTERM, [](int) { ++signals; });
  desktop.terminate();
  g_application_set_default(application.get());
  desktop.terminate();  // not registered
  EXPECT_EQ(signals, 2);
  ASSERT_TRUE(registerApplication());
  addAction(application.get(), "quit");
  desktop.terminate();
  EXPECT_THAT(told, ElementsAre("quit"));
  g_action_map_remove_action(G_ACTION_MAP(application.get()), "quit");
  const auto holdAndTerminate = +[](GApplication* held) { g_application_hold(held), terminateHost(); };
  g_signal_connect(application.get(), "activate", G_CALLBACK(holdAndTerminate), nullptr);
  g_application_run(application.get(), 0, nullptr);  // returns
  EXPECT_EQ(signals, 2);
}

}  // namespace quill::freedesktop::tests
