#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string_view>
#include <utility>

#include "panel_fixture.h"

namespace quill::freedesktop {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

bool isError(const MessageHandle& reply) {
  return reply != nullptr && sd_bus_message_is_method_error(reply.get(), nullptr) > 0;
}
bool isAnswer(const MessageHandle& reply) {
  return reply != nullptr && sd_bus_message_is_method_error(reply.get(), nullptr) == 0;
}

std::ptrdiff_t openDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return std::distance(begin(descriptors), end(descriptors));
}

class Freedesktop : public PanelTest {
 protected:
  bool isTold(std::size_t count) {
    return runUntil([&] { return host->told.size() >= count; });
  }
};

TEST_F(Freedesktop, RegistersItsPathOnceAndAgainWithEachWatcher) {
  bus.start();
  makeItem();
  runFor(std::chrono::milliseconds(50));  // no watcher yet
  panel = std::make_unique<FakePanel>(bus.address(), 4);
  ASSERT_TRUE(panel->waitForItem());
  panel->takeSignals();
  EXPECT_EQ(panel->refused, 4);
  EXPECT_THAT(panel->itemPaths, ElementsAre("/StatusNotifierItem"));
  const auto name = panel->itemName;
  EXPECT_EQ(name.front(), ':');
  const auto descriptors = openDescriptors();
  for (int i = 0; i < 20; ++i) {
    panel.reset();
    panel = std::make_unique<FakePanel>(bus.address());
    ASSERT_TRUE(panel->waitForItem());
  }
  EXPECT_EQ(panel->itemName, name);
  EXPECT_THAT(panel->itemPaths, ElementsAre("/StatusNotifierItem"));
  EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(Freedesktop, ComesBackWithTheBusUntilItsLastReferenceGoes) {
  showInPanel();
  const auto descriptors = openDescriptors();
  for (int i = 0; i < 5; ++i) {
    bus.kill();
    panel->itemName.clear();
    panel->itemPaths.clear();
    runFor(std::chrono::milliseconds(i * 60));  // the new one is there before or after the first attempts
    bus.start();
    ASSERT_TRUE(panel->waitForItem()) << i;
    EXPECT_EQ(panel->itemPaths.size(), 1U);
    EXPECT_EQ(readMenu().size(), 2U);
  }
  EXPECT_EQ(openDescriptors(), descriptors);
  item.reset();
  EXPECT_TRUE(isError(panel->getAll(FakePanel::kItem)));
  EXPECT_EQ(openDescriptors(), descriptors - 1);
}

TEST_F(Freedesktop, NeedsAnAddress) {
  const auto canMake = [&] { return desktop.makeStatusItem(kSquareStatusItemLength) != nullptr; };
  EXPECT_TRUE(canMake());
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  const auto directory = std::filesystem::path(bus.socketPath()).parent_path();
  setenv("XDG_RUNTIME_DIR", directory.c_str(), 1);
  EXPECT_FALSE(canMake());
  bus.start();
  EXPECT_TRUE(canMake());
  unsetenv("XDG_RUNTIME_DIR");
  EXPECT_FALSE(canMake());
}

TEST_F(Freedesktop, WaitsForABusWithoutBurningTime) {
  const std::string silent = bus.socketPath() + "-silent";
  sockaddr_un name{AF_UNIX, {}};
  std::strncpy(name.sun_path, silent.c_str(), sizeof(name.sun_path) - 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&name), sizeof(name)), 0);
  ASSERT_EQ(listen(listener, 8), 0);
  std::vector<std::shared_ptr<StatusItem>> waiting;
  for (const auto& address : {std::string("nonsense"), std::string("unix:"), std::string("unix:path="),
                              std::string("unix:abstract=/nobody/listens"), std::string("tcp:host=nowhere.invalid"),
                              "unix:path=" + silent, bus.address()}) {
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    waiting.push_back(desktop.makeStatusItem(kSquareStatusItemLength));
    EXPECT_NE(waiting.back(), nullptr) << address;
  }
  EXPECT_LT(runFor(std::chrono::milliseconds(500)), std::chrono::milliseconds(50));
  bus.start();  // which the last of them has waited for
  panel = std::make_unique<FakePanel>(bus.address());
  EXPECT_TRUE(panel->waitForItem());
  close(listener);
}

TEST_F(Freedesktop, AnswersForEveryProperty) {
  showInPanel();
  const auto properties = [&](const char* interface) {
    std::string all;
    const auto reply = panel->getAll(interface);
    sd_bus_message_enter_container(reply.get(), 'a', "{sv}");
    while (sd_bus_message_enter_container(reply.get(), 'e', "sv") > 0) {
      const char* name = nullptr;
      const char* type = nullptr;
      const char* text = "";
      sd_bus_message_read(reply.get(), "s", &name);
      sd_bus_message_peek_type(reply.get(), nullptr, &type);
      if (std::string_view("s") != type || sd_bus_message_read(reply.get(), "v", type, &text) < 0) {
        sd_bus_message_skip(reply.get(), "v");
        text = type;
      }
      all += std::string(" ") + name + "=" + text;
      sd_bus_message_exit_container(reply.get());
    }
    return all;
  };
  EXPECT_EQ(properties(FakePanel::kItem),
            " Category=ApplicationStatus Id=freedesktop_tests Title=freedesktop_tests Status=Active IconName="
            " IconPixmap=a(iiay) IconAccessibleDesc=freedesktop_tests ToolTip=(sa(iiay)ss) IconThemePath= Menu=o "
            "ItemIsMenu=b");
  for (const char* name : {"WindowId", "OverlayIconName", "AttentionIconPixmap"}) {  // alone, not among all
    EXPECT_TRUE(isAnswer(panel->call("org.freedesktop.DBus.Properties", "Get", "ss", FakePanel::kItem, name))) << name;
  }
  EXPECT_EQ(properties(FakePanel::kMenu), " Version=u TextDirection=ltr Status=normal IconThemePath=as");
}

TEST_F(Freedesktop, TellsClicks) {
  showInPanel();
  const auto ids = readMenu();
  ASSERT_EQ(ids.size(), 2U);
  std::size_t entriesSeenByHost = 0;
  host->onPerform = [&] { entriesSeenByHost = readMenu().size(); };  // the panel is served meanwhile
  EXPECT_TRUE(isAnswer(panel->call(FakePanel::kItem, "Activate", "ii", 1, 2)));
  EXPECT_TRUE(isTold(1));
  EXPECT_EQ(entriesSeenByHost, 2U);
  host->onPerform = [&] { EXPECT_EQ(desktop.application->currentEvent->type, EventType::rightMouseUp); };
  EXPECT_TRUE(isAnswer(panel->call(FakePanel::kItem, "ContextMenu", "ii", 1, 2)));
  EXPECT_TRUE(isTold(2));
  host->onPerform = nullptr;
  for (const char* name : {"opened", "hovered", "closed", "whatever"}) {
    EXPECT_TRUE(isAnswer(panel->call(FakePanel::kMenu, "Event", "isvu", ids[0], name, "i", 0, 0U)));
  }
  EXPECT_TRUE(isAnswer(panel->call(FakePanel::kItem, "SecondaryActivate", "ii", 1, 2)));
  EXPECT_TRUE(isAnswer(panel->call(FakePanel::kItem, "Scroll", "is", 1, "vertical")));
  EXPECT_TRUE(isAnswer(panel->call(FakePanel::kItem, "ProvideXdgActivationToken", "s", "token")));
  EXPECT_TRUE(isAnswer(choose(ids[1])));
  EXPECT_TRUE(isAnswer(panel->call(FakePanel::kMenu, "EventGroup", "a(isvu)", 2, ids[0], "clicked", "i", 0, 0U, 999,
                                   "clicked", "i", 0, 0U)));
  EXPECT_TRUE(isTold(4));
  EXPECT_THAT(host->told, ElementsAre("click", "click", "choose: b", "choose: a"));
}

TEST_F(Freedesktop, SignalsWhatIsNewAboutTheMenuOnce) {
  showInPanel();
  const auto ids = readMenu();
  show({{"a", "A"}, {"b", "B"}});
  EXPECT_THAT(panel->takeSignals(), IsEmpty());
  show({{"a", "A", false}, {"b", "renamed"}});
  EXPECT_THAT(panel->takeSignals(), ElementsAre("ItemsPropertiesUpdated"));
  EXPECT_EQ(readMenu(), ids);
  choose(ids[0]);  // disabled by now
  show({{"a", "A"}, {"b", "renamed"}, {"c", "C"}});
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated"));
  choose(ids[1]);  // of the layout before
  EXPECT_THAT(readMenu(), ElementsAre(3, 4, 5));
  item->announceMenu(nullptr);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated"));
  EXPECT_TRUE(isError(choose(ids[1])));  // two layouts ago
  EXPECT_THAT(readMenu(), IsEmpty());
  EXPECT_THAT(host->told, ElementsAre("choose: b"));
}

TEST_F(Freedesktop, SignalsWhatIsNewAboutTheItemOnce) {
  showInPanel();
  const auto picture = image();
  item->button()->setImage(picture);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon"));
  item->button()->setImage(std::nullopt);
  item->button()->setImage(picture);
  item->button()->setNeedsDisplay(true);
  EXPECT_THAT(panel->takeSignals(), IsEmpty());
  item->button()->setImage(image());  // the same pixels, decoded anew
  EXPECT_THAT(panel->takeSignals(), IsEmpty());
  item->button()->setHidden(true);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewStatus"));
  const char* status = nullptr;
  ASSERT_GE(sd_bus_message_read(panel->lastSignal.get(), "s", &status), 0);
  EXPECT_STREQ(status, "Passive");
  item->button()->setHidden(false);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewStatus"));
  g_set_application_name("Renamed");
  item->button()->setNeedsDisplay(true);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewTitle", "NewToolTip"));
}

TEST_F(Freedesktop, LeavesMessagesForAfterALoopInsideOfADispatch) {
  showInPanel();
  bool isInside = false;
  panel->heard = [&](std::string_view) {
    if (std::exchange(isInside, true)) return;
    item->button()->setHidden(false);
    runFor(std::chrono::milliseconds(50));  // in which the next signal comes in
  };
  item->button()->setHidden(true);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewStatus", "NewStatus"));
}

#ifndef __SANITIZE_ADDRESS__  // the undefined behaviour sanitizer, which comes with it here, needs descriptors itself
TEST_F(Freedesktop, TicksAlsoWithoutADescriptorToSpare) {
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const int next = dup(STDIN_FILENO);
  close(next);
  const rlimit full{static_cast<rlim_t>(next), before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &full);
  int ticks = 0;
  const auto timer = desktop.mainQueue().repeat(std::chrono::milliseconds(2), [&] { ++ticks; });
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_TRUE(runUntil([&] { return ticks >= 3; }));
}
#endif

TEST_F(Freedesktop, RefusesWhatMakesNoSense) {
  showInPanel();
  const auto ids = readMenu();
  constexpr auto kMenu = FakePanel::kMenu;
  constexpr auto kHuge = std::numeric_limits<std::int32_t>::max();
  constexpr auto kTiny = std::numeric_limits<std::int32_t>::min();
  for (const auto id : {-1, 77, kHuge, kTiny}) {
    EXPECT_TRUE(isError(panel->call(kMenu, "GetLayout", "iias", id, -1, 0))) << id;
    EXPECT_TRUE(isError(panel->call(kMenu, "GetProperty", "is", id, "label"))) << id;
    EXPECT_TRUE(isError(panel->call(kMenu, "AboutToShow", "i", id))) << id;
    EXPECT_TRUE(isError(choose(id))) << id;
    EXPECT_TRUE(isError(panel->call(kMenu, "EventGroup", "a(isvu)", 1, id, "clicked", "i", 0, 0U))) << id;
    EXPECT_TRUE(isError(panel->call(kMenu, "AboutToShowGroup", "ai", 1, id))) << id;
  }
  EXPECT_TRUE(isAnswer(panel->call(kMenu, "AboutToShowGroup", "ai", 2, 77, 0)));
  EXPECT_TRUE(isError(panel->call(kMenu, "GetProperty", "is", ids[0], "no such thing")));
  EXPECT_TRUE(isAnswer(panel->call(kMenu, "GetProperty", "is", ids[0], "visible")));
  EXPECT_TRUE(isError(panel->call(kMenu, "GetLayout", "s", "wrong type")));
  EXPECT_TRUE(isError(panel->call(FakePanel::kItem, "Activate", "s", "wrong type")));
  EXPECT_TRUE(isError(panel->call(FakePanel::kItem, "NoSuchMethod")));
  for (const auto depth : {kHuge, kTiny, 1'000'000, 0}) {
    EXPECT_TRUE(isAnswer(panel->call(kMenu, "GetLayout", "iias", 0, depth, 1, "label"))) << depth;
  }
  EXPECT_THAT(host->told, IsEmpty());
}

TEST_F(Freedesktop, AnswersGroupsInBoundedSize) {
  showInPanel();
  const auto ids = readMenu();
  const auto answers = [&](const std::vector<std::int32_t>& asked) {
    auto call = panel->newCall(FakePanel::kMenu, "GetGroupProperties");
    sd_bus_message_append_array(call.get(), 'i', asked.data(), asked.size() * sizeof(asked[0]));
    sd_bus_message_append(call.get(), "as", 0);
    const auto reply = panel->send(std::move(call));
    int count = 0;
    sd_bus_message_enter_container(reply.get(), 'a', "(ia{sv})");
    while (sd_bus_message_skip(reply.get(), "(ia{sv})") > 0) ++count;
    return count;
  };
  EXPECT_EQ(answers({}), 3) << "all, with the root";
  EXPECT_EQ(answers({ids[1], 77}), 1);
  EXPECT_EQ(answers(std::vector<std::int32_t>(1'000'000, ids[0])), 1);
}

TEST_F(Freedesktop, LeavesItsParentsConnectionAloneAfterAFork) {
  showInPanel();
  const pid_t child = fork();
  if (child == 0) {
    for (int i = 0; i < 20; ++i) g_main_context_iteration(nullptr, FALSE);
    const bool isQuiet = g_main_context_pending(nullptr) == FALSE;
    item.reset();
    _exit(isQuiet ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(readMenu().size(), 2U);
}

int terminationSignals = 0;

TEST_F(Freedesktop, AsksTheHostToEndInItsOwnWay) {
  std::signal(SIGTERM, [](int) { ++terminationSignals; });
  desktop.terminate();
  EXPECT_EQ(terminationSignals, 1);

  const std::unique_ptr<GApplication, void (*)(gpointer)> application(
      g_application_new("org.example.Host", G_APPLICATION_NON_UNIQUE), g_object_unref);
  g_application_set_default(application.get());
  desktop.terminate();  // not registered
  EXPECT_EQ(terminationSignals, 2);

  int asked = 0;
  const std::unique_ptr<GSimpleAction, void (*)(gpointer)> quit(g_simple_action_new("quit", nullptr), g_object_unref);
  g_signal_connect(quit.get(), "activate", G_CALLBACK(+[](GSimpleAction*, GVariant*, int* count) { ++*count; }),
                   &asked);
  g_action_map_add_action(G_ACTION_MAP(application.get()), G_ACTION(quit.get()));
  desktop.terminate();
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(terminationSignals, 2);
}

}  // namespace
}  // namespace quill::freedesktop
