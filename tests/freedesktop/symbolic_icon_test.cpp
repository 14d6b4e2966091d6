#include <gio/gio.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "icon_folder.h"
#include "immortal.h"
#include "panel_fixture.h"
#include "symbolic_svg.h"

namespace quill::freedesktop {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

constexpr auto kWatcher = "org.kde.StatusNotifierWatcher";

class SymbolicIcon : public PanelTest {
 protected:
  SymbolicIcon() {
    bus.start();  // before there is a runtime directory, in which it would keep files
    for (const char* variable : {"SNAP", "container"}) unsetenv(variable);
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
  }
  ~SymbolicIcon() override { unsetenv("XDG_RUNTIME_DIR"); }

  /// A panel, or whatever else has a connection, under one more name.
  static sd_bus* own(FakePanel& panel, const char* name) {
    panel.itemName = "org.freedesktop.DBus";
    sd_bus* const connection = sd_bus_message_get_bus(panel.newCall("org.freedesktop.DBus", "GetId").get());
    panel.itemName.clear();
    EXPECT_GE(sd_bus_request_name(connection, name, 0), 0) << name;
    return connection;
  }
  void showIn(const char* panelName) {
    panel = std::make_unique<FakePanel>(bus.address());
    own(*panel, panelName);
    makeItem();
    item->button()->setImage(frame(1));
    ASSERT_TRUE(panel->waitForItem());
    panel->takeSignals();
  }
  /// A template, different for each number.
  Image frame(int number) {
    auto pixels = std::make_shared<Pixels>(Pixels{22, 22, std::vector<std::uint8_t>(22 * 22 * 4)});
    for (int i = 0; i < 22 * number; ++i) pixels->rgba[static_cast<std::size_t>(i) * 4 + 3] = 255;
    Image made(pixels, {22, 22});
    made.setTemplate(true);
    desktop.prepare(made);
    return made;
  }
  std::string read(const char* property) {
    const auto reply = panel->call("org.freedesktop.DBus.Properties", "Get", "ss", FakePanel::kItem, property);
    const char* text = "no answer";
    sd_bus_message_read(reply.get(), "v", "s", &text);
    return text;
  }
  static std::vector<std::string> below(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
  }

  GlibMainQueue queue;
  const std::string runtime = fs::path(bus.socketPath()).parent_path() / "run";
  const bool isMade = fs::create_directory(runtime);
};

TEST_F(SymbolicIcon, IsAFileForAPanelThatRecolours) {
  const auto second = frame(2);
  showIn("org.gnome.Shell");
  const fs::path folder = read("IconThemePath");
  EXPECT_EQ(folder.parent_path(), runtime);
  EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
  EXPECT_EQ(below(folder).size(), 2U);  // the frame to come is there before it is shown

  const auto shown = [&] { return folder / (read("IconName") + ".svg"); };
  std::ifstream file(shown());
  EXPECT_EQ(std::string(std::istreambuf_iterator(file), {}), symbolicSvg(item->button()->image()->pixels()));
  const auto written = fs::last_write_time(folder);
  const auto first = *item->button()->image();
  const auto firstFile = shown();
  item->button()->setImage(second);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon"));
  const auto secondFile = shown();
  EXPECT_NE(secondFile, firstFile);
  EXPECT_TRUE(fs::exists(secondFile));
  item->button()->setImage(first);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon"));
  EXPECT_EQ(shown(), firstFile);
  EXPECT_EQ(fs::last_write_time(folder), written);  // a tick touches no file

  {
    const auto copies = {frame(3), frame(3), frame(3)};  // one content, one file
    EXPECT_EQ(below(folder).size(), 3U);
  }
  EXPECT_EQ(below(folder).size(), 2U);
  const pid_t child = fork();
  if (child == 0) {
    item.reset();
    desktop.removeFiles();
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  EXPECT_EQ(below(folder).size(), 2U);

  item->button()->setImage(image());  // no template
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon"));
  EXPECT_EQ(read("IconName"), "");
  item.reset();
  EXPECT_THAT(below(runtime), IsEmpty());
}

TEST_F(SymbolicIcon, IsChosenAgainForEachWatcher) {
  showIn("org.example.First");
  const auto askForShell = [](sd_bus* connection) {
    sd_bus_request_name_async(connection, nullptr, "org.gnome.Shell", 0, nullptr, nullptr);
  };
  Bus other(queue, bus.address(), {askForShell, [] {}});
  other.start();
  struct {
    const char* name;
    bool recolours;
  } const cases[] = {{"org.example.Second", false}, {"org.kde.kded5", true}, {"org.xfce.Panel", false}};
  const char* before = "org.example.First";
  for (const auto& [name, recolours] : cases) {
    auto* const connection = own(*panel, name);
    for (const char* given : {before, kWatcher}) sd_bus_release_name(connection, given);
    own(*panel, kWatcher);
    ASSERT_TRUE(panel->waitForItem()) << name;
    EXPECT_EQ(!read("IconName").empty(), recolours) << name;
    EXPECT_EQ(!read("IconThemePath").empty(), recolours) << name;
    EXPECT_EQ(below(runtime).size(), recolours ? 1U : 0U) << name;
    before = name;
  }
}

TEST_F(SymbolicIcon, IsLeftOutWhereThePanelCouldNotSeeIt) {
  showIn("org.gnome.Shell");
  struct {
    const char* variable;
    std::string value;
  } const cases[] = {{"XDG_RUNTIME_DIR", ""},
                     {"XDG_RUNTIME_DIR", "relative"},
                     {"XDG_RUNTIME_DIR", runtime + "/missing"},
                     {"XDG_RUNTIME_DIR", bus.socketPath()},
                     {"SNAP", "/snap/host"},
                     {"container", "flatpak"}};
  EXPECT_NE(IconFolder::make(), nullptr);
  for (const auto& [variable, value] : cases) {
    setenv(variable, value.c_str(), 1);
    EXPECT_EQ(IconFolder::make(), nullptr) << variable << '=' << value;
    IconFolder::sweep();
    unsetenv(variable);
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
  }
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit full{1, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  item->button()->setImage(frame(5));
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon"));
  EXPECT_EQ(read("IconName"), "");
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_THAT(below(read("IconThemePath")), IsEmpty());  // also of the frame before, which nobody uses
}

TEST_F(SymbolicIcon, OfAKilledProcessIsSweptAway) {
  fs::create_directory(runtime + "/quill-tray");
  const auto ours = IconFolder::make();
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    const auto theirs = IconFolder::make();
    const auto file = theirs->file("icon", "text");
    const bool isTold = write(ends[1], "x", 1) == 1;
    pause();
    _exit(isTold ? 0 : 1);
  }
  char told = 0;
  ASSERT_EQ(::read(ends[0], &told, 1), 1);
  IconFolder::sweep();
  EXPECT_EQ(below(runtime).size(), 3U);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  makeItem();
  EXPECT_EQ(below(runtime).size(), 2U);
  EXPECT_TRUE(fs::exists(ours->path()));
  for (const int end : ends) close(end);
}

TEST_F(SymbolicIcon, GoesWhenTheProcessExits) {
  const pid_t child = fork();
  if (child == 0) {
    panel = std::make_unique<FakePanel>(bus.address());
    own(*panel, "org.gnome.Shell");
    static const Immortal<std::shared_ptr<StatusItem>> shown(
        [] { return quill::Desktop::current().makeStatusItem(kSquareStatusItemLength); });
    shown.get()->button()->setImage(frame(1));
    std::exit(panel->waitForItem() && below(runtime).size() == 1 ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(below(runtime), IsEmpty());
}

}  // namespace
}  // namespace quill::freedesktop
