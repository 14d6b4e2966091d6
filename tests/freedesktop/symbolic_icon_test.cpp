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

  void settle() override { panel->takeSignals(); }
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

/// xfce4-panel's settings daemon.
struct Xfconf : Peer {
  explicit Xfconf(const PrivateBus& bus) : Peer(bus, {"org.xfce.Xfconf"}) {
    set("'/panels/dark-mode': <true>");
    replies["GetProperty"] = "(<'Adwaita'>,)";
  }
  void set(const std::string& panels) { replies["GetAllProperties"] = "(@a{sv} {" + panels + "},)"; }
  void signalChange(const char* channel, const char* property) const {
    emit("/org/xfce/Xfconf", "org.xfce.Xfconf", "PropertyChanged",
         g_variant_new("(ssv)", channel, property, g_variant_new_boolean(TRUE)));
  }
};

TEST_F(SymbolicIcon, HasTheFormAndToneForEachPanel) {
  const auto config = bus.directory / "config";
  fs::create_directories(config / "lxqt");
  setenv("XDG_CONFIG_HOME", config.c_str(), 1);
  Xfconf xfconf(bus);
  std::optional<Peer> other;
  showIn("org.example.Panel");
  const auto white = panel->get("IconPixmap");
  const auto writeSettings = [&](std::string settings) {
    std::ranges::replace(settings, ';', '\n');
    const auto end = settings.find(':');
    std::ofstream(config / settings.substr(0, end)) << settings.substr(end + 1) << '\n';
  };
  const auto setBackground = [&](const std::string& style) {
    xfconf.set("'/panels/panel-1/background-style': <uint32 " + style +
               ">, '/panels/panel-1/background-rgba': <[<1.0>, <1.0>, <0.5>, <1.0>]>");
  };
  const auto noteIcon = [&](const std::string& tone) {
    const bool hasTone = runUntil([&] { return (panel->get("IconPixmap") == white) == (tone == "white"); });
    const bool isPath = read("IconName").starts_with('/');
    told.push_back((hasTone ? tone : "not " + tone) + (isPath                     ? " path"
                                                       : read("IconName").empty() ? " pixels"
                                                                                  : " name"));
    EXPECT_EQ(read("IconThemePath").empty(), isPath || countIn(runtime) == 0);
    const auto svg = symbolicSvg(shapeOf(pixels(1)), {.icon = IconForm::file});
    EXPECT_TRUE(!isPath || contents(read("IconName")) == svg);
  };
  expectSteps("bars.txt", {{"panel",
                            [&](auto& name) {
                              startPanel({name.c_str(), kWatcher});
                            }},
                           {"other", [&](auto& name) { other.emplace(bus, std::initializer_list{name.c_str()}); }},
                           {"process", [](auto& name) { prctl(PR_SET_NAME, name.c_str()); }},
                           {"settings", writeSettings},
                           {"dark-mode", [&](auto& isOn) { xfconf.set("'/panels/dark-mode': <" + isOn + ">"); }},
                           {"background", setBackground},
                           {"theme", [&](auto& name) { xfconf.replies["GetProperty"] = "(<'" + name + "'>,)"; }},
                           {"change", [&](auto&) { xfconf.signalChange("xfce4-panel", "/panels/dark-mode"); }},
                           {"variable", setVariable},
                           {"spoil-folder", [&](auto&) { fs::remove_all(read("IconThemePath")); }},
                           {"image", [&](auto& number) { item->button()->setImage(image(std::stoi(number))); }},
                           {"name", [&](auto&) { told.emplace_back(read("IconName").empty() ? "none" : "name"); }},
                           {"icon", noteIcon}});
}

TEST_F(SymbolicIcon, IsPaintedAnewByPlasmaOnceAfterAChangeOfColours) {
  showIn("org.kde.kded6");
  for (const int round : {1, 2}) {
    for (const int change : {0, 2})
      panel->emit("/KGlobalSettings", "org.kde.KGlobalSettings", "notifyChange", g_variant_new("(ii)", change, 0));
    EXPECT_TRUE(runUntil([&] { return !panel->signals.empty(); })) << round;
    EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon()")) << round;
  }
}

TEST_F(SymbolicIcon, IsPaintedAnewByXfceAfterItsThemeChangedAndWhenShown) {
  prctl(PR_SET_NAME, "wrapper-2.0");  // by which the panel is recognised
  const Xfconf xfconf(bus);
  showIn("org.example.Panel");
  const auto path = read("IconThemePath");
  for (const auto& [channel, property] :
       {std::pair{"xsettings", "/Net/ThemeName"}, std::pair{"xfce4-panel", "/panels/dark-mode"}}) {
    xfconf.signalChange(channel, property);
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

TEST_F(SymbolicIcon, GivesWayToPixelsWhileAnAnimationRunsInXfce) {
  prctl(PR_SET_NAME, "wrapper-2.0");
  const auto second = image(2), third = image(3);
  showIn("org.example.Panel");
  const auto first = *item->button()->image();
  runFor(300ms);
  for (const auto& [shown, isFile] : {std::pair(second, true), std::pair(third, false), std::pair(first, true),
                                      std::pair(second, false), std::pair(first, true), std::pair(third, false)}) {
    item->button()->setImage(shown);
    panel->takeSignals();
    EXPECT_EQ(!read("IconName").empty(), isFile);
  }
  EXPECT_TRUE(runUntil([&] { return !panel->signals.empty(); })) << "the animation has come to rest";
  EXPECT_NE(read("IconName"), "");
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
