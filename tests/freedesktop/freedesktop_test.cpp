#include <malloc.h>

#include <ctime>

#include "dbusmenu.h"
#include "host_application.h"
#include "panel_fixture.h"

namespace quill::freedesktop::tests {

using Freedesktop = PanelTest;

TEST_F(Freedesktop, ItemRegistersOnceWithEachWatcherOnEachBus) {
  bus.start();
  auto shown = desktop.makeStatusItem(kSquareStatusItemLength);
  for (int i = 0; i < 6; ++i) {
    panel.reset();
    if (i >= 3) {
      bus.kill();
      runFor((i - 2) * 60ms);  // the new bus starts before or after the first attempts
      bus.start();
    }
    startPanel();
    panel->takeSignals();
    EXPECT_THAT(panel->received, ElementsAre("RegisterStatusNotifierItem('/StatusNotifierItem',)"));
  }
  shown.reset();
  EXPECT_EQ(panel->menu(), "error");
}

TEST_F(Freedesktop, ItemWaitsForTheBusOfAUsableAddress) {
  setenv("XDG_RUNTIME_DIR", bus.directory.c_str(), 1);
  std::vector<std::shared_ptr<StatusItem>> waiting;
  for (const auto& [address, outcome] : casesIn(CASES "addresses.txt")) {
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    waiting.push_back(desktop.makeStatusItem(22));
    EXPECT_EQ(waiting.back() != nullptr, outcome == "usable") << address;
  }
  const auto before = std::clock();
  runFor(500ms);
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20) << "nothing polls";
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  EXPECT_EQ(desktop.makeStatusItem(22), nullptr) << "no bus in the runtime directory either";
  bus.start();
  waiting.push_back(desktop.makeStatusItem(22));
  startPanel();
  EXPECT_TRUE(runUntil([&] { return panel->received.size() == 3; })) << "two waited in the runtime directory";
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

TEST_F(Freedesktop, LargeFrameKeepsOnlyThePixelsThatPanelsRead) {
  if (kIsSanitized) GTEST_SKIP() << "a sanitizer keeps what was given back";
  const auto inUse = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
  const auto before = inUse();
  for (int i = 1; i <= 10; ++i) manager->addAnimationFrame({std::make_shared<Pixels>(pixels(i, 512)), {22, 22}});
  EXPECT_LE(inUse() - before, 10 * ((22 * 22 + 44 * 44) * 4 + 20 * 1024));
}

TEST_F(Freedesktop, PanelIsServedWhileTheHostHandlesAClick) {
  showInPanel();
  static Peer* const reader = panel.get();
  manager->setClickCallback([] { told.push_back(reader->menu()); });
  for (const char* method : {"Activate", "ContextMenu", "SecondaryActivate"}) panel->call(kItem, method, "(1, 2)");
  panel->takeSignals();
  EXPECT_THAT(told, ElementsAre(panel->menu()));
}

/// The arguments of a call that has many values alike.
std::string listOf(std::size_t count, const std::string& value) {
  return "([" + times(count - 1, value + ",") + value + "],)";
}
const std::string kChoice = "(1, 'clicked', <0>, uint32 0)";

TEST_F(Freedesktop, CallBeyondALimitIsRejected) {
  showInPanel();
  EXPECT_EQ(panel->call(kMenu, "EventGroup", listOf(DBusMenu::kMaxChoices + 1, kChoice)), "error");
  EXPECT_EQ(panel->call(kMenu, "AboutToShowGroup", listOf(250'001, "1")), "error");
  EXPECT_EQ(panel->call(kMenu, "GetGroupProperties", "([1], [" + times(256, "'label',") + "'label'])"), "error");
}

TEST_F(Freedesktop, ChoicesWaitBelowTooManyNestedMainLoops) {
  static int depth = 0, deepest = 0;
  manager->setMenuItemCallback([](const char* identifier) {
    told.emplace_back(identifier);
    deepest = std::max(deepest, ++depth);
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
    --depth;
  });
  showInPanel();
  panel->call(kMenu, "EventGroup", listOf(100, kChoice));
  EXPECT_TRUE(runUntil([] { return told.size() == 100; }));
  EXPECT_EQ(deepest, HostCalls::kMaxDepth);
}

TEST_F(Freedesktop, EachCallHasItsReply) {
  showInPanel();
  expectReplies("calls.txt");
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(Freedesktop, ChangedMenuSignalsTheLeastAndKeepsOpenEntries) {
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

TEST_F(Freedesktop, TerminatedHostQuitsByItsActionElseByItself) {
  static int signals = 0;
  std::signal(SIGTERM, [](int) { ++signals; });
  g_application_set_default(application.get());
  terminateHost();
  EXPECT_EQ(signals, 1) << "as without an application, because this one is not registered";
  registerApplication();
  addAction(application.get(), "quit");
  terminateHost();
  EXPECT_THAT(told, ElementsAre("quit"));
  g_action_map_remove_action(G_ACTION_MAP(application.get()), "quit");
  const auto holdAndTerminate = +[](GApplication* held) { g_application_hold(held), terminateHost(); };
  g_signal_connect(application.get(), "activate", G_CALLBACK(holdAndTerminate), nullptr);
  g_application_run(application.get(), 0, nullptr);  // returns
  EXPECT_EQ(signals, 1);
}

}  // namespace quill::freedesktop::tests
