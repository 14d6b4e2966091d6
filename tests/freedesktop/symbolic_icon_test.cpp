#include <sys/prctl.h>

#include <fstream>

#include "icon_folder.h"
#include "panel_fixture.h"
#include "symbolic_svg.h"

namespace quill::freedesktop::tests {

class SymbolicIcon : public PanelTest {
 protected:
  SymbolicIcon() {
    bus.start();  // before there is a runtime directory, in which it would keep files
    for (const char* variable : {"SNAP", "container", "DISPLAY"}) unsetenv(variable);
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
  EXPECT_EQ(countIn(folder), 3) << "replaced ones stay for panels that read late";
  EXPECT_EXIT((g_main_context_iteration(nullptr, FALSE), desktop.removeFiles(), _exit(0)), ExitedWithCode(0), "");
  EXPECT_THAT(panel->menu(), HasSubstr("'__B<'"));  // its label is made for this panel
  EXPECT_TRUE(countIn(folder) == 3 && panel->received.size() == 1) << "the child leaves files and connection alone";
  item.reset();
  EXPECT_EQ(countIn(runtime), 0);
}

TEST_F(SymbolicIcon, IsChosenAgainForEachWatcherAndDrawnAnewInPlasmasNewColours) {
  showIn("org.example.Panel");
  const Peer shell(bus, {"org.gnome.Shell"});  // which is not the watcher
  {
    const Peer indicators(bus, {"org.ayatana.indicator.application"});  // of the watcher's process
    startPanel({"org.example.Bar", kWatcher});
    EXPECT_EQ(read("IconThemePath"), "");
    EXPECT_EQ(contents(read("IconName")), symbolicSvg(shapeOf(pixels(1)), {.icon = IconForm::file}));
  }
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

/// xfce4-panel's settings daemon, with settings of our choice.
struct Xfconf : Peer {
  explicit Xfconf(const PrivateBus& bus) : Peer(bus, {"org.xfce.Xfconf"}) {
    replies = {{"GetAllProperties", "(@a{sv} {'/panels/dark-mode': <true>},)"}, {"GetProperty", "(<'Adwaita'>,)"}};
  }
  void change(const char* channel, const char* property) const {
    g_dbus_connection_emit_signal(connection.get(), nullptr, "/org/xfce/Xfconf", "org.xfce.Xfconf", "PropertyChanged",
                                  g_variant_new("(ssv)", channel, property, g_variant_new_boolean(TRUE)), nullptr);
  }
};

TEST_F(SymbolicIcon, IsPaintedAnewByXfceAfterItsThemeChangedAndWhenShown) {
  prctl(PR_SET_NAME, "wrapper-2.0");  // by which the panel is recognised
  const Xfconf xfconf(bus);
  showIn("org.example.Panel");
  const auto path = read("IconThemePath");
  for (const auto& [channel, property] :
       {std::pair{"xsettings", "/Net/ThemeName"}, std::pair{"xfce4-panel", "/panels/dark-mode"}}) {
    xfconf.change(channel, property);
    for (const auto& painted : {path + "/", path}) {
      EXPECT_TRUE(runUntil([&] { return !panel->signals.empty(); })) << property;
      EXPECT_EQ(read("IconThemePath"), painted) << property;
      EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon()")) << property;
    }
  }
  item->button()->setHidden(true);
  panel->takeSignals();
  item->button()->setHidden(false);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewStatus('Active',)", "NewIcon()"));
  EXPECT_EQ(read("IconThemePath"), path + "/");
}

TEST_F(SymbolicIcon, GivesWayToPixelsInXfceOnABackgroundOfTheUsersAndInAnAnimation) {
  prctl(PR_SET_NAME, "wrapper-2.0");
  Xfconf xfconf(bus);
  const auto second = image(2), third = image(3);
  showIn("org.example.Panel");
  const auto first = *item->button()->image();
  runFor(300ms);
  for (const auto& [shown, isFile] : {std::pair(second, true), std::pair(third, false), std::pair(first, true),
                                      std::pair(second, false), std::pair(first, true)}) {
    item->button()->setImage(shown);
    panel->takeSignals();
    EXPECT_EQ(!read("IconName").empty(), isFile);
  }
  item->button()->setImage(third);
  panel->takeSignals();
  EXPECT_TRUE(runUntil([&] { return !panel->signals.empty(); })) << "the animation has come to rest";
  EXPECT_NE(read("IconName"), "");

  Lines pixels;  // on a dark bar of the theme's, a light one, and the user's: an image, a light colour
  const auto user = [](const std::string& style) {
    return "({'/panels/panel-1/background-style': <uint32 " + style +
           ">, '/panels/panel-1/background-rgba': <[<1.0>, <1.0>, <0.5>, <1.0>]>},)";
  };
  for (const auto& settings :
       Lines{xfconf.replies["GetAllProperties"], "({'/panels/dark-mode': <false>},)", user("2"), user("1")}) {
    xfconf.replies["GetAllProperties"] = settings;
    xfconf.change("xfce4-panel", "/panels/dark-mode");
    runFor(300ms);
    pixels.push_back(panel->get("IconPixmap"));
    EXPECT_EQ(read("IconName").empty(), settings.starts_with("({'/panels/panel-1")) << settings;
  }
  EXPECT_THAT(pixels, ElementsAre(pixels[0], pixels[1], pixels[0], pixels[1]));
  EXPECT_NE(pixels[0], pixels[1]);
}

TEST_F(SymbolicIcon, IsInPixelsInTheToneForMateAndForLxqtsTheme) {
  showIn("org.example.Panel");
  const auto white = panel->get("IconPixmap");
  startPanel({"org.mate.panel.applet.NotificationAreaAppletFactory", kWatcher});
  const auto black = panel->get("IconPixmap");
  EXPECT_NE(black, white);
  const auto config = bus.directory / "config";
  fs::create_directories(config / "lxqt");
  setenv("XDG_CONFIG_HOME", config.c_str(), 1);
  for (const auto& [style, colour, tone] :
       {std::tuple("breeze-dark", "239,240,241", white), std::tuple("default", "239,240,241", black),
        std::tuple("default", "42,46,50", white)}) {
    std::ofstream(config / "plasmarc") << "[Wallpapers]\nname=x\n[Theme]\nname=" << style << '\n';
    std::ofstream(config / "kdeglobals") << "[Colors:Window]\nBackgroundNormal=" << colour << '\n';
    startPanel({"org.kde.kded6", kWatcher});
    EXPECT_TRUE(runUntil([&] { return panel->get("IconPixmap") == tone; })) << style << ' ' << colour;
  }
  prctl(PR_SET_NAME, "lxqt-panel");
  for (const auto& [theme, tone] : {std::pair("debian", white), std::pair("Clearlooks", black)}) {
    std::ofstream(config / "lxqt/lxqt.conf") << "[General]\ntheme=" << theme << '\n';
    startPanel();
    EXPECT_TRUE(runUntil([&] { return panel->get("IconPixmap") == tone; })) << theme;
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
    if (countIn(runtime) == 3 && theirs->write("icon", "text")) kill(getpid(), SIGKILL);
  };
  EXPECT_EXIT(makeAndDie(), KilledBySignal(SIGKILL), "");
  EXPECT_EQ(countIn(runtime), 3);
  EXPECT_NE(IconFolder::make(), nullptr);
  EXPECT_EQ(countIn(runtime), 2);
  for (std::size_t i = 0; i <= IconFolder::kMaxFiles; ++i)
    EXPECT_TRUE(ours->write(std::to_string(i), "text") && ours->write("shown", "text"));
  EXPECT_EQ(countIn(ours->path()), std::ptrdiff_t{IconFolder::kMaxFiles});
  EXPECT_TRUE(fs::exists(ours->path() + "/shown.svg"));
}

}  // namespace quill::freedesktop::tests
