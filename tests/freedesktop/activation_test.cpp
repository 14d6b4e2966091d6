#include <dlfcn.h>

#include <array>
#include <atomic>
#include <regex>
#include <thread>

#include "activation_token.h"
#include "panel_fixture.h"

namespace quill::freedesktop::tests {

constexpr auto kVariable = "XDG_ACTIVATION_TOKEN";

class Activation : public PanelTest {
 protected:
  /// GDK as an interpreter loads it.
  Activation() : gdk(dlopen(GDK_STANDIN, RTLD_LAZY | RTLD_LOCAL)) { find<void (*)()>("open_display")(); }

  template <typename Function>
  Function find(const char* name) const {
    return reinterpret_cast<Function>(dlsym(gdk, name));
  }

 public:
  /// What a window finds that is presented now: for Qt and others, and for GTK.
  std::string visible() const { return variable(kVariable) + "|" + find<const char* (*)()>("startup_id")(); }
  static std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "unset";
  }

 private:
  void* const gdk;
};

TEST_F(Activation, TokenIsVisibleInOneEventsCallbackAlone) {
  setenv(kVariable, "of the start", 1);
  static const Activation* self = nullptr;
  self = this;
  manager->setClickCallback([] { told.push_back("click " + self->visible()); });
  manager->setMenuItemCallback([](const char* id) { told.push_back(id + (" " + self->visible())); });
  showInPanel();
  const std::map<std::string, std::array<const char*, 3>> calls = {
      {"activate", {kItem, "Activate", "(1, 2)"}},
      {"contextMenu", {kItem, "ContextMenu", "(1, 2)"}},
      {"middle", {kItem, "SecondaryActivate", "(1, 2)"}},
      {"scroll", {kItem, "Scroll", "(1, 'vertical')"}},
      {"choose", {kMenu, "Event", "(1, 'clicked', <0>, uint32 0)"}},
      {"close", {kMenu, "Event", "(0, 'closed', <0>, uint32 0)"}},
      {"root", {kMenu, "Event", "(0, 'clicked', <0>, uint32 0)"}},
      {"group", {kMenu, "EventGroup", "([(1, 'clicked', <0>, uint32 0), (1, 'clicked', <0>, 0)],)"}}};
  const auto filled = [](const std::string& text) {
    const auto step = std::regex_replace(text, std::regex("LONGEST"), std::string(ActivationToken::kMaxSize, 'x'));
    return std::regex_replace(step, std::regex("MEBIBYTE"), std::string(1 << 20, 'x'));
  };
  const auto provide = [&](const std::string& token) {
    panel->call(kItem, "ProvideXdgActivationToken", ("('" + token + "',)").c_str());
  };
  for (const auto& [steps, expected] : casesIn(CASES "tokens.txt")) {
    std::istringstream words(filled(steps));
    for (std::string word; words >> word;) {
      if (word.starts_with("token:")) {
        provide(word.substr(6));
      } else {
        const auto& [interface, method, arguments] = calls.at(word);
        panel->call(interface, method, arguments);
      }
    }
    panel->takeSignals();
    std::string seen;
    for (const auto& call : std::exchange(told, {})) seen += (seen.empty() ? "" : ", ") + call;
    EXPECT_EQ(seen, filled(expected)) << steps;
  }
  for (int i = 0; i < 1000; ++i) provide("many" + std::to_string(i));
  panel->call(kItem, "Activate", "(1, 2)");
  panel->takeSignals();
  EXPECT_THAT(std::exchange(told, {}), ElementsAre("click many999|many999"));
  EXPECT_EQ(visible(), "|");

  const auto event = [&](const char* text, const std::function<void()>& work) {
    runWithActivationToken(*ActivationToken::parse(text), work);
  };
  event("outer", [&] {
    event("", [&] { told.push_back(visible() + ActivationToken::current().text()); });
    event("inner", [&] { told.push_back(visible()); });
    std::thread([&] { told.push_back(ActivationToken::current().text()); }).join();
    told.push_back(visible() + "|" + ActivationToken::current().text());
  });
  EXPECT_THAT(told, ElementsAre("|", "inner|inner", "", "outer|outer|outer"));
  EXPECT_EQ(visible() + ActivationToken::current().text(), "|");
}

TEST_F(Activation, UrlOpenedInAnEventsCallbackCarriesTheToken) {
  const TemporaryDirectory home;
  const auto notes = home.path / "notes";
  for (const auto* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"}) setenv(name, home.path.c_str(), 1);
  fs::create_directories(home.path / "applications");
  std::ofstream defaults(home.path / "mimeapps.list");
  defaults << "[Default Applications]\n";
  const auto install = [&](const std::string& name, const std::string& scheme, const std::string& keys) {
    std::ofstream(home.path / "applications" / (name + ".desktop"))
        << "[Desktop Entry]\nType=Application\nName=Handler\nMimeType=x-scheme-handler/" + scheme + ";\n" + keys;
    defaults << "x-scheme-handler/" + scheme + "=" + name + ".desktop\n";
  };
  const auto note = R"(Exec=sh -c 'echo "$0 $XDG_ACTIVATION_TOKEN|$DESKTOP_STARTUP_ID" >>notes' %u)";
  install("quill.test.Program", "program", std::string(note) + "\nPath=" + home.path.string() + "\n");
  install("quill.test.Service", "service", "Exec=false %u\nDBusActivatable=true\n");
  defaults.close();
  bus.start();
  Peer others(bus, {"quill.test.Service", "org.freedesktop.portal.Desktop"});
  const auto open = [&](const std::string& scheme) {
    desktop.openUrl({scheme + ":early"});
    runWithActivationToken(*ActivationToken::parse("t1"), [&] {
      desktop.openUrl({scheme + ":a"});
      desktop.openUrl({scheme + ":b"});
    });
    desktop.openUrl({scheme + ":late"});
    const auto poll = desktop.mainQueue().repeat(10ms, [] {});
    runUntil([&] { return others.received.size() == 4 || std::ranges::count(contents(notes), '\n') == 4; });
  };
  setenv("DESKTOP_STARTUP_ID", "of the start", 1);
  open("service");
  const std::string data = "{'activation-token': <'t1'>, 'desktop-startup-id': <'t1'>}";
  EXPECT_EQ(std::exchange(others.received, {}),
            (Lines{"Open(['service:early'], @a{sv} {})", "Open(['service:a'], " + data + ")",
                   "Open(['service:b'], " + data + ")", "Open(['service:late'], @a{sv} {})"}));
  setenv("container", "a sandbox", 1);
  open("portal");
  const std::string options = "{'activation_token': <'t1'>}";
  EXPECT_EQ(std::exchange(others.received, {}),
            (Lines{"OpenURI('', 'portal:early', @a{sv} {})", "OpenURI('', 'portal:a', " + options + ")",
                   "OpenURI('', 'portal:b', " + options + ")", "OpenURI('', 'portal:late', @a{sv} {})"}));
  unsetenv("container");
  open("program");
  EXPECT_THAT(contents(notes), AllOf(HasSubstr("program:early |of the start\n"), HasSubstr("program:a t1|t1\n"),
                                     HasSubstr("program:b t1|t1\n"), HasSubstr("program:late |of the start\n")));
}

TEST_F(Activation, EnvironmentReadByOtherThreadsKeepsItsVariablesWhileTokensChange) {
  setenv("QUILL_LAST", "there", 1);
  std::atomic<bool> isOver = false;
  std::atomic<int> missed = 0, reads = 0;
  std::jthread reader([&] {
    for (; !isOver; ++reads) missed += std::getenv("QUILL_LAST") == nullptr;
  });
  char** const before = environ;
  std::vector<const char*> variables;
  for (char** next = before; *next != nullptr; ++next) variables.push_back(*next);
  char** list = nullptr;
  const auto token = *ActivationToken::parse("t");
  for (int i = 0; i < 20'000 || reads < 1000; ++i) {
    runWithActivationToken(token, [] { unsetenv(kVariable); });
    runWithActivationToken(token, [&] { told = {visible()}; });
    if (list == nullptr) list = environ;
    ASSERT_THAT(told, ElementsAre("t|t"));
    ASSERT_EQ(list, environ) << "moved";
  }
  isOver = true;
  reader.join();
  EXPECT_EQ(missed, 0);
  unsetenv(kVariable);
  for (char** const kept : {before, list}) {  // as they were, to the end
    EXPECT_TRUE(std::equal(variables.begin(), variables.end(), kept) && kept[variables.size()] == nullptr);
  }
  // The host's own variables stay, whatever it does.
  setenv("QUILL_NEW", "new", 1), unsetenv(kVariable);
  runWithActivationToken(token, [&] { told = {visible(), variable("QUILL_NEW"), variable("QUILL_LAST")}; });
  EXPECT_THAT(told, ElementsAre("t|t", "new", "there"));
  setenv(kVariable, "the host's", 1);
  runWithActivationToken(token, [&] { told = {visible()}; });
  EXPECT_THAT(told, ElementsAre("t|t"));
  clearenv();
  runWithActivationToken(token, [&] { told = {visible()}; });
  EXPECT_THAT(told, ElementsAre("t|t"));
  EXPECT_EQ(visible(), "|");
}

}  // namespace quill::freedesktop::tests
