#include <sys/prctl.h>

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
    xfconf.emplace(bus, std::initializer_list{"org.xfce.Xfconf"});
    xfconf->replies["GetProperty"] = "(<'Adwaita'>,)";
    setDarkMode("true");
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
  void setDarkMode(const std::string& isOn) {
    xfconf->replies["GetAllProperties"] = "(@a{sv} {'/panels/dark-mode': <" + isOn + ">},)";
  }
  /// As xfce4-panel's settings and Plasma do.
  void signalChange() const {
    xfconf->emit("/org/xfce/Xfconf", "org.xfce.Xfconf", "PropertyChanged",
                 g_variant_new_parsed("('xsettings', '/Net/ThemeName', <''>)"));
    panel->emit("/KGlobalSettings", "org.kde.KGlobalSettings", "notifyChange", g_variant_new("(ii)", 0, 0));
  }

  const fs::path runtime = bus.directory / "run";
  std::optional<Peer> xfconf;  // xfce4-panel's settings
};

TEST_F(SymbolicIcon, PanelThatRecoloursGetsAFile) {
  showIn("org.gnome.Shell");
  const fs::path folder = read("IconThemePath");
  for (const int number : {2, 1, 2}) {
    item->button()->setImage(image(number));
    EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon()"));
    EXPECT_EQ(contents(folder / (read("IconName") + ".svg")),
              symbolicSvg(shapeOf(pixels(number)), {.icon = IconForm::symbolic}));
  }
  EXPECT_EQ(countIn(folder), 2) << "a panel that reads late finds a replaced icon";
  EXPECT_EXIT((g_main_context_iteration(nullptr, FALSE), desktop.removeFiles(), _exit(0)), ExitedWithCode(0), "");
  EXPECT_THAT(panel->menu(), HasSubstr("'__B<'"));  // its label is made for this panel
  EXPECT_EQ(countIn(folder), 2) << "a forked child leaves the files and the connection alone";
  item.reset();
  EXPECT_EQ(countIn(runtime), 0);
}

TEST_F(SymbolicIcon, EachPanelGetsItsFormAndTone) {
  fs::create_directory(bus.directory / "lxqt");
  setenv("XDG_CONFIG_HOME", bus.directory.c_str(), 1);
  std::optional<Peer> other;
  showIn("org.example.Panel");
  const auto replacePanel = [&](const std::string& name) { startPanel({name.c_str(), kWatcher}); };
  const auto writeSettings = [&](std::string settings) {
    std::ranges::replace(settings, ';', '\n');
    const auto end = settings.find(':');
    std::ofstream(bus.directory / settings.substr(0, end)) << settings.substr(end + 1) << '\n';
  };
  const auto noteIcon = [&](const std::string& tone) {
    const auto* const opaqueFill = tone == "white" ? "0xff, 0xff, 0xff, 0xff" : "0xff, 0x00, 0x00, 0x00";
    const bool hasTone = runUntil([&] { return panel->get("IconPixmap").find(opaqueFill) != std::string::npos; });
    const auto name = read("IconName");
    const bool isPath = contents(name).find("Text { color:#ffffff; }") != std::string::npos;
    told.push_back((hasTone ? tone : "not " + tone) + (name.empty() ? " pixels" : isPath ? " path" : " name"));
  };
  expectSteps("bars.txt", {{"panel", replacePanel},
                           {"other", [&](auto& name) { other.emplace(bus, std::initializer_list{name.c_str()}); }},
                           {"process", [](auto& name) { prctl(PR_SET_NAME, name.c_str()); }},
                           {"settings", writeSettings},
                           {"dark-mode", [&](auto& isOn) { setDarkMode(isOn); }},
                           {"theme", [&](auto& name) { xfconf->replies["GetProperty"] = "(<'" + name + "'>,)"; }},
                           {"change", [&](auto&) { signalChange(); }},
                           {"variable", setVariable},
                           {"icon", noteIcon}});
}

TEST_F(SymbolicIcon, PlasmaPaintsTheIconOnceAfterAChangeOfColours) {
  showIn("org.kde.kded6");
  signalChange();
  signalChange();
  EXPECT_TRUE(runUntil([&] { return !panel->signals.empty(); }));
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon()"));
}

TEST_F(SymbolicIcon, XfcePaintsTheIconAfterAChangeOfThemeAndWhenShown) {
  prctl(PR_SET_NAME, "wrapper-2.0");  // by which the panel is recognised
  showIn("org.example.Panel");
  const auto path = read("IconThemePath");
  signalChange();
  for (const auto& painted : {path + "/", path}) {
    EXPECT_TRUE(runUntil([&] { return !panel->signals.empty(); }));
    EXPECT_EQ(read("IconThemePath"), painted);
    EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon()"));
  }
  item->button()->setHidden(true);
  panel->takeSignals();
  item->button()->setHidden(false);
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewStatus('Active',)", "NewIcon()"));
  EXPECT_EQ(read("IconThemePath"), path + "/");
}

TEST_F(SymbolicIcon, XfceGetsPixelsWhileAnAnimationRuns) {
  prctl(PR_SET_NAME, "wrapper-2.0");
  const auto second = image(2), third = image(3);
  showIn("org.example.Panel");
  const auto first = *item->button()->image();
  runFor(300ms);
  for (const auto& [shown, isFile] :
       {std::pair(second, true), std::pair(third, false), std::pair(first, true), std::pair(third, false)}) {
    item->button()->setImage(shown);
    panel->takeSignals();
    EXPECT_EQ(!read("IconName").empty(), isFile);
  }
  EXPECT_TRUE(runUntil([&] { return !panel->signals.empty(); })) << "the animation has come to rest";
  EXPECT_NE(read("IconName"), "");
}

TEST_F(SymbolicIcon, FolderKeepsTheNewestFilesAndRemovesUnusedFolders) {
  const auto folder = IconFolder::make();
  fs::create_directory(runtime / "quill-tray-killed");
  EXPECT_NE(IconFolder::make(), nullptr);
  EXPECT_EQ(countIn(runtime), 1);
  for (std::size_t i = 0; i < IconFolder::kMaxFiles; ++i)
    EXPECT_TRUE(folder->write("shown", "text") && folder->write(std::to_string(i), "text"));
  EXPECT_EQ(countIn(folder->path()), std::ptrdiff_t{IconFolder::kMaxFiles});
  EXPECT_TRUE(fs::exists(folder->path() + "/shown.svg"));
}

}  // namespace quill::freedesktop::tests
