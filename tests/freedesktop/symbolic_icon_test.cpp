#include "icon_folder.h"
#include "panel_fixture.h"
#include "symbolic_svg.h"

namespace quill::freedesktop::tests {

class SymbolicIcon : public PanelTest {
 protected:
  SymbolicIcon() {
    bus.start();  // before there is a runtime directory, in which it would keep files
    for (const char* variable : {"SNAP", "container"}) unsetenv(variable);
    fs::create_directory(runtime);
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
  }

  void showIn(const char* panelName) {
    showInPanel({panelName, kWatcher});
    manager->setMainIcon(image(1));
    panel->takeSignals();
  }
  std::string read(const char* property) const {
    const auto value = panel->get(property);
    return value.substr(3, value.size() - 7);  // "(<'…'>,)"
  }
  const fs::path runtime = bus.directory / "run";
};

TEST_F(SymbolicIcon, IsAFileForAPanelThatRecolours) {
  const auto second = image(2);
  showIn("org.gnome.Shell");
  const fs::path folder = read("IconThemePath");
  EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
  const auto first = *item->button()->image();
  for (const auto& [number, shown] : {std::pair(2, second), std::pair(1, first)}) {
    item->button()->setImage(shown);
    EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon()"));
    EXPECT_EQ(contents(folder / (read("IconName") + ".svg")),
              symbolicSvg(shapeOf(pixels(number)), {.icon = IconForm::symbolic}));
  }
  for (const auto& copy : {image(3), image(3)}) item->button()->setImage(copy), panel->takeSignals();
  EXPECT_EQ(countIn(folder), 3) << "one content, one file";
  item->button()->setImage(first);
  panel->takeSignals();
  EXPECT_EQ(countIn(folder), 3) << "it stays for a moment after it was replaced";
  EXPECT_TRUE(runUntil([&] { return countIn(folder) == 1; }));
  const auto endAChild = [&] {
    const bool isBusy = (runFor(200ms), g_main_context_pending(nullptr) != FALSE);
    item.reset(), desktop.removeFiles(), _exit(isBusy ? 1 : 0);
  };
  EXPECT_EXIT(endAChild(), ExitedWithCode(0), "");
  EXPECT_THAT(panel->menu(), HasSubstr("'__B<'"));  // its label is made for this panel
  EXPECT_TRUE(countIn(folder) == 1 && panel->received.size() == 1) << "the child leaves files and connection alone";
  item.reset();
  EXPECT_EQ(countIn(runtime), 0);
}

TEST_F(SymbolicIcon, IsChosenAgainForEachWatcherAndDrawnAnewInPlasmasNewColours) {
  showIn("org.example.Panel");
  const Peer shell(bus, {"org.gnome.Shell"});  // which is not the watcher
  for (const auto& [name, recolours] : {std::pair{"org.example.Other", false}, std::pair{"org.kde.kded5", true},
                                        std::pair{"org.xfce.Panel", false}, std::pair{"org.kde.kded6", true}}) {
    startPanel({name, kWatcher});
    EXPECT_EQ(!read("IconName").empty(), recolours) << name;
    EXPECT_EQ(countIn(runtime), recolours ? 1 : 0) << name;
  }
  for (const int round : {1, 2}) {
    for (const int change : {0, 2}) {  // at once, and so one
      g_dbus_connection_emit_signal(panel->connection.get(), nullptr, "/KGlobalSettings", "org.kde.KGlobalSettings",
                                    "notifyChange", g_variant_new("(ii)", change, 0), nullptr);
    }
    EXPECT_TRUE(runUntil([&] { return !panel->signals.empty(); })) << round;
    EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon()")) << round;
  }
}

TEST_F(SymbolicIcon, IsLeftOutWhereThePanelCouldNotSeeIt) {
  showIn("org.gnome.Shell");
  const std::pair<const char*, fs::path> cases[] = {{"XDG_RUNTIME_DIR", ""},
                                                    {"XDG_RUNTIME_DIR", bus.directory / "bus"},
                                                    {"SNAP", "/snap/host"},
                                                    {"container", "flatpak"}};
  for (const auto& [variable, value] : cases) {
    EXPECT_NE(IconFolder::make(), nullptr);
    setenv(variable, value.c_str(), 1);
    EXPECT_EQ(IconFolder::make(), nullptr) << variable << '=' << value;
    unsetenv(variable), setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
  }
  fs::remove_all(read("IconThemePath"));  // so that nothing can be written there
  item->button()->setImage(image(5));
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon()"));
  EXPECT_EQ(read("IconName"), "");
}

TEST_F(SymbolicIcon, GoesWhenTheProcessExitsAndIsSweptAwayAfterAKilledOne) {
  const auto showAndExit = [&] {
    panel = std::make_unique<Peer>(bus, std::initializer_list{"org.gnome.Shell", kWatcher});
    TrayManager::shared()->createTray();
    TrayManager::shared()->setMainIcon(image(1));
    std::exit(panel->waitForItem() && countIn(runtime) == 1 ? 0 : 1);
  };
  EXPECT_EXIT(showAndExit(), ExitedWithCode(0), "");
  EXPECT_EQ(countIn(runtime), 0);

  fs::create_directory(runtime / "quill-tray");
  const auto ours = IconFolder::make();
  const auto makeAndDie = [&] {
    const auto theirs = IconFolder::make();
    const auto file = theirs->file("icon", "text");
    IconFolder::sweep();
    if (countIn(runtime) == 3 && countIn(theirs->path()) == 1) kill(getpid(), SIGKILL);
  };
  EXPECT_EXIT(makeAndDie(), KilledBySignal(SIGKILL), "");
  EXPECT_EQ(countIn(runtime), 3);
  manager->createTray();
  EXPECT_EQ(countIn(runtime), 2);
  EXPECT_TRUE(fs::exists(ours->path()));
}

}  // namespace quill::freedesktop::tests
