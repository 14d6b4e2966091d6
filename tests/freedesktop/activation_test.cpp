#include "activation_token.h"

#include <thread>

#include "panel_fixture.h"

namespace quill::freedesktop::tests {

constexpr auto kVariable = "XDG_ACTIVATION_TOKEN";

/// The token that a window finds which is presented now.
std::string visible() {
  const char* const token = std::getenv(kVariable);
  return token != nullptr && *token != '\0' ? token : "none";
}
std::string visibleDuring(const char* token) {
  std::string seen;
  runWithActivationToken(*ActivationToken::parse(token), [&] { seen = visible(); });
  return seen;
}

using Activation = PanelTest;

TEST_F(Activation, TokenIsVisibleInTheCallbackOfItsEventAlone) {
  manager->setClickCallback([] { told.push_back("click " + visible()); });
  manager->setMenuItemCallback([](const char* identifier) { told.push_back(identifier + (" " + visible())); });
  auto* const functions = G_APPLICATION_GET_CLASS(application.get());
  functions->before_emit = [](GApplication*, GVariant* data) { told.push_back("before " + text(data)); };
  functions->after_emit = [](GApplication*, GVariant* data) { told.push_back("after " + text(data)); };
  g_application_set_default(application.get());
  showInPanel();
  const auto provide = [&](std::string token) {
    if (token == "TOO-LONG") token.assign(ActivationToken::kMaxSize + 1, 'x');
    panel->call(kItem, "ProvideXdgActivationToken", "('" + token + "',)");
  };
  const auto chooseTwice = [&](auto&) {
    panel->call(kMenu, "EventGroup", "([(1, 'clicked', <0>, uint32 0), (1, 'clicked', <0>, 0)],)");
  };
  expectSteps("tokens.txt", {{"token", provide},
                             {"register-application", [&](auto&) { registerApplication(); }},
                             {"item", [&](auto& method) { panel->call(kItem, method, "(1, 2)"); }},
                             {"scroll", [&](auto&) { panel->call(kItem, "Scroll", "(1, 'vertical')"); }},
                             {"choose", [&](auto& id) { panel->choose(std::stoi(id)); }},
                             {"choose-twice", chooseTwice},
                             {"close", [&](auto&) { panel->call(kMenu, "Event", "(0, 'closed', <0>, uint32 0)"); }}});
  EXPECT_EQ(visible(), "none");
}

TEST_F(Activation, EventInsideAnotherHasItsOwnToken) {
  const auto note = [] { told.push_back(visible() + ", " + ActivationToken::current().text()); };
  const auto handle = [](const char* token, const std::function<void()>& work) {
    runWithActivationToken(*ActivationToken::parse(token), work);
  };
  handle("outer", [&] {
    handle("", note);
    handle("inner", note);
    std::thread([] { told.push_back("of another thread: " + ActivationToken::current().text()); }).join();
    note();
  });
  EXPECT_THAT(told, ElementsAre("none, ", "inner, inner", "of another thread: ", "outer, outer"));
}

TEST_F(Activation, UrlOpenedInACallbackCarriesTheToken) {
  const TemporaryDirectory home;
  for (const auto* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"}) setenv(name, home.path.c_str(), 1);
  std::ofstream(home.path / "mimeapps.list") << "[Default Applications]\n"
                                                "x-scheme-handler/program=quill.test.Program.desktop\n"
                                                "x-scheme-handler/service=quill.test.Service.desktop\n";
  fs::create_directory(home.path / "applications");
  const std::string entry = "[Desktop Entry]\nType=Application\nName=Handler\n";
  std::ofstream(home.path / "applications/quill.test.Service.desktop") << entry << "Exec=false\nDBusActivatable=true\n";
  std::ofstream(home.path / "applications/quill.test.Program.desktop")
      << entry << R"(Exec=sh -c 'echo "$0 $XDG_ACTIVATION_TOKEN $DESKTOP_STARTUP_ID" >>opened' %u)"
      << "\nPath=" << home.path.string() << '\n';
  setenv("DESKTOP_STARTUP_ID", "ours", 1);
  bus.start();
  Peer others(bus, {"quill.test.Service", "org.freedesktop.portal.Desktop"});
  const auto open = [&](const std::string& scheme) {
    runWithActivationToken(*ActivationToken::parse("t1"), [&] { desktop.openUrl({scheme + ":a"}); });
    desktop.openUrl({scheme + ":late"});
    const auto poll = desktop.mainQueue().repeat(10ms, [] {});
    runUntil([&] { return others.received.size() + std::ranges::count(contents(home.path / "opened"), '\n') == 2; });
    return std::exchange(others.received, {});
  };
  EXPECT_THAT(open("service"),
              ElementsAre("Open(['service:a'], {'activation-token': <'t1'>, 'desktop-startup-id': <'t1'>})",
                          "Open(['service:late'], @a{sv} {})"));
  setenv("container", "a sandbox", 1);
  EXPECT_THAT(open("portal"), ElementsAre("OpenURI('', 'portal:a', {'activation_token': <'t1'>})",
                                          "OpenURI('', 'portal:late', @a{sv} {})"));
  unsetenv("container");
  open("program");
  EXPECT_THAT(contents(home.path / "opened"), AllOf(HasSubstr("program:a t1 t1\n"), HasSubstr("program:late  ours\n")));
}

TEST_F(Activation, TokenLeavesTheListsThatOtherThreadsRead) {
  char** const before = environ;
  std::vector<const char*> variables;
  for (char** next = before; *next != nullptr; ++next) variables.push_back(*next);
  EXPECT_EQ(visibleDuring("t1"), "t1");
  char** const list = environ;
  for (int i = 0; i < 3; ++i) {
    unsetenv(kVariable);  // as Qt does with a token that it used
    EXPECT_EQ(visibleDuring("t2"), "t2");
    EXPECT_EQ(list, environ);
  }
  unsetenv(kVariable);
  for (char** const kept : {before, list}) {
    EXPECT_TRUE(std::equal(variables.begin(), variables.end(), kept) && kept[variables.size()] == nullptr);
  }
}

TEST_F(Activation, HostsOwnChangesOfTheEnvironmentStay) {
  EXPECT_EQ(visibleDuring("t1"), "t1");
  setenv("QUILL_NEW", "new", 1);
  unsetenv(kVariable);
  EXPECT_EQ(visibleDuring("t2"), "t2");
  EXPECT_STREQ(std::getenv("QUILL_NEW"), "new");
  clearenv();
  EXPECT_EQ(visibleDuring("t3"), "t3");
}

}  // namespace quill::freedesktop::tests
