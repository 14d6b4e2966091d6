#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <limits>
#include <map>
#include <string_view>
#include <thread>

#include "fake_panel.h"
#include "freedesktop_desktop.h"
#include "menus.h"
#include "private_bus.h"

namespace quill::freedesktop {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

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

class Freedesktop : public ::testing::Test {
 protected:
  Freedesktop() { setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1); }

  void makeItem() {
    item = desktop.makeStatusItem(kSquareStatusItemLength);
    ASSERT_NE(item, nullptr);
    item->button()->sendActionOn(kClickEvents);
    item->button()->setTarget(host);
    item->button()->setAction("click");
  }
  void show(const std::vector<Row>& rows) { item->announceMenu(menuOf(rows, host)); }
  /// An item with two entries in a panel.
  void showInPanel() {
    bus.start();
    panel = std::make_unique<FakePanel>(bus.address());
    makeItem();
    show({{"a", "A"}, {"b", "B"}});
    ASSERT_TRUE(panel->waitForItem());
    panel->takeSignals();
  }
  Image image() {
    auto pixels = std::make_shared<Pixels>(Pixels{44, 44, {}});
    for (int i = 0; i < 44 * 44; ++i) pixels->rgba.insert(pixels->rgba.end(), {1, 2, 3, 255});
    Image made(pixels, {22, 22});
    desktop.prepare(made);
    return made;
  }
  /// Reads the menu as panels do; answers with the ids of the entries on top.
  std::vector<std::int32_t> readMenu() {
    const auto reply = panel->call(FakePanel::kMenu, "GetLayout", "iias", 0, -1, 0);
    std::vector<std::int32_t> ids;
    std::int32_t id = 0;
    sd_bus_message_skip(reply.get(), "u");
    sd_bus_message_enter_container(reply.get(), 'r', "ia{sv}av");
    sd_bus_message_skip(reply.get(), "ia{sv}");
    sd_bus_message_enter_container(reply.get(), 'a', "v");
    while (sd_bus_message_enter_container(reply.get(), 'v', "(ia{sv}av)") > 0) {
      sd_bus_message_enter_container(reply.get(), 'r', "ia{sv}av");
      sd_bus_message_read(reply.get(), "i", &id);
      ids.push_back(id);
      sd_bus_message_skip(reply.get(), "a{sv}av");
      sd_bus_message_exit_container(reply.get());
      sd_bus_message_exit_container(reply.get());
    }
    return ids;
  }
  MessageHandle choose(std::int32_t id) {
    return panel->call(FakePanel::kMenu, "Event", "isvu", id, "clicked", "i", 0, 0U);
  }
  bool isTold(std::size_t count) {
    return runUntil([&] { return host->told.size() >= count; });
  }

  PrivateBus bus;
  Desktop desktop;
  std::shared_ptr<Host> host = std::make_shared<Host>();
  std::shared_ptr<StatusItem> item;
  std::unique_ptr<FakePanel> panel;
};

TEST_F(Freedesktop, RegistersItsPathOnceAndAgainWithEachWatcher) {
  bus.start();
  makeItem();
  runFor(std::chrono::milliseconds(50));  // no watcher yet
  panel = std::make_unique<FakePanel>(bus.address());
  ASSERT_TRUE(panel->waitForItem());
  panel->takeSignals();
  EXPECT_THAT(panel->itemPaths, ElementsAre("/StatusNotifierItem"));
  EXPECT_EQ(panel->itemName.front(), ':');

  const auto name = panel->itemName;
  const auto descriptors = openDescriptors();
  for (int i = 0; i < 100; ++i) {
    panel.reset();
    panel = std::make_unique<FakePanel>(bus.address());
    ASSERT_TRUE(panel->waitForItem());
  }
  EXPECT_EQ(panel->itemName, name);
  EXPECT_THAT(panel->itemPaths, ElementsAre("/StatusNotifierItem"));
  EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(Freedesktop, OutlivesAWatcherThatAnswersWithErrors) {
  bus.start();
  makeItem();
  panel = std::make_unique<FakePanel>(bus.address(), 4);
  EXPECT_TRUE(panel->waitForItem());
  EXPECT_EQ(panel->refused, 4);
}

TEST_F(Freedesktop, ComesBackWithTheBus) {
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
}

TEST_F(Freedesktop, LeavesWithTheLastReference) {
  showInPanel();
  const auto descriptors = openDescriptors();
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

/// Names with their values, as far as these are text or flags.
std::map<std::string, std::string> properties(const MessageHandle& reply) {
  std::map<std::string, std::string> values;
  sd_bus_message_enter_container(reply.get(), 'a', "{sv}");
  while (sd_bus_message_enter_container(reply.get(), 'e', "sv") > 0) {
    const char* name = nullptr;
    sd_bus_message_read(reply.get(), "s", &name);
    auto& value = values[name];
    const char* type = nullptr;
    sd_bus_message_peek_type(reply.get(), nullptr, &type);
    if (const std::string_view signature(type); signature == "s" || signature == "o") {
      const char* text = nullptr;
      sd_bus_message_read(reply.get(), "v", type, &text);
      value = text;
    } else if (signature == "b") {
      int flag = -1;
      sd_bus_message_read(reply.get(), "v", "b", &flag);
      value = flag == 0 ? "false" : "true";
    } else {
      value = signature;
      sd_bus_message_skip(reply.get(), "v");
    }
    sd_bus_message_exit_container(reply.get());
  }
  return values;
}

TEST_F(Freedesktop, AnswersForEveryProperty) {
  showInPanel();
  using Values = std::map<std::string, std::string>;
  EXPECT_EQ(properties(panel->getAll(FakePanel::kItem)), (Values{{"Category", "ApplicationStatus"},
                                                                 {"Id", "freedesktop_tests"},
                                                                 {"Title", "freedesktop_tests"},
                                                                 {"Status", "Active"},
                                                                 {"WindowId", "i"},
                                                                 {"IconName", ""},
                                                                 {"IconPixmap", "a(iiay)"},
                                                                 {"OverlayIconName", ""},
                                                                 {"OverlayIconPixmap", "a(iiay)"},
                                                                 {"AttentionIconName", ""},
                                                                 {"AttentionIconPixmap", "a(iiay)"},
                                                                 {"AttentionMovieName", ""},
                                                                 {"ToolTip", "(sa(iiay)ss)"},
                                                                 {"IconThemePath", ""},
                                                                 {"Menu", "/MenuBar"},
                                                                 {"ItemIsMenu", "false"},
                                                                 {"IconAccessibleDesc", "freedesktop_tests"},
                                                                 {"AttentionAccessibleDesc", ""}}));
  EXPECT_EQ(properties(panel->getAll(FakePanel::kMenu)),
            (Values{{"Version", "u"}, {"TextDirection", "ltr"}, {"Status", "normal"}, {"IconThemePath", "as"}}));
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
  show({{"a", "A"}, {"b", "renamed"}});
  EXPECT_THAT(panel->takeSignals(), ElementsAre("ItemsPropertiesUpdated"));
  EXPECT_EQ(readMenu(), ids);
  show({{"a", "A", false}, {"b", "renamed"}});
  EXPECT_THAT(panel->takeSignals(), ElementsAre("ItemsPropertiesUpdated"));
  choose(ids[0]);  // disabled by now
  show({{"a", "A"}, {"b", "renamed"}, {"c", "C"}});
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated"));
  choose(ids[1]);  // of the layout before
  const auto newIds = readMenu();
  EXPECT_THAT(newIds, ElementsAre(3, 4, 5));
  choose(newIds[2]);
  show({});
  EXPECT_THAT(panel->takeSignals(), ElementsAre("LayoutUpdated"));
  EXPECT_TRUE(isError(choose(ids[1])));  // two layouts ago
  item->announceMenu(nullptr);
  EXPECT_THAT(panel->takeSignals(), IsEmpty());
  EXPECT_THAT(readMenu(), IsEmpty());
  EXPECT_THAT(host->told, ElementsAre("choose: b", "choose: c"));
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
  item->button()->setImage(image());
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon"));
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
  const auto answered = [&](const std::vector<std::int32_t>& asked) {
    auto call = panel->newCall(FakePanel::kMenu, "GetGroupProperties");
    sd_bus_message_append_array(call.get(), 'i', asked.data(), asked.size() * sizeof(asked[0]));
    sd_bus_message_append(call.get(), "as", 0);
    const auto reply = panel->send(std::move(call));
    std::vector<std::int32_t> answers;
    sd_bus_message_enter_container(reply.get(), 'a', "(ia{sv})");
    while (sd_bus_message_enter_container(reply.get(), 'r', "ia{sv}") > 0) {
      sd_bus_message_read(reply.get(), "i", &answers.emplace_back());
      sd_bus_message_skip(reply.get(), "a{sv}");
      sd_bus_message_exit_container(reply.get());
    }
    return answers;
  };
  EXPECT_THAT(answered({}), ElementsAre(0, ids[0], ids[1]));
  EXPECT_THAT(answered({ids[1], 77}), ElementsAre(ids[1]));
  std::vector<std::int32_t> million(1'000'000, ids[0]);
  for (std::size_t i = 0; i < million.size(); i += 2) million[i] = static_cast<std::int32_t>(i);
  EXPECT_THAT(answered(million), UnorderedElementsAre(0, ids[0], ids[1]));
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

TEST(GlibMainQueue, TakesTheThreadThatRunsTheContextForTheMainOne) {
  GlibMainQueue queue;
  const auto isCurrentInThread = [&] {
    bool isCurrent = true;
    std::thread([&] { isCurrent = queue.isCurrent(); }).join();
    return isCurrent;
  };
  EXPECT_TRUE(queue.isCurrent());  // nobody has run it: the process's first thread
  EXPECT_FALSE(isCurrentInThread());
  std::thread([&] {
    bool ran = false;
    queue.post([&] {
      ran = true;
      EXPECT_TRUE(queue.isCurrent());
    });
    while (!ran) g_main_context_iteration(nullptr, TRUE);
    EXPECT_TRUE(queue.isCurrent());  // between its iterations
    g_main_context_acquire(nullptr);
    EXPECT_TRUE(queue.isCurrent());
    EXPECT_FALSE(isCurrentInThread());
    g_main_context_release(nullptr);
  }).join();
  EXPECT_FALSE(queue.isCurrent());
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
