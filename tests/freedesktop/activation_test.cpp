#include <dlfcn.h>

#include <atomic>
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
  std::string visible() const {
    const char* const variable = std::getenv(kVariable);
    return std::string(variable != nullptr ? variable : "unset") + "|" + find<const char* (*)()>("startup_id")();
  }
  std::string visibleDuring(const char* token) const {
    std::string seen;
    runWithActivationToken(*ActivationToken::parse(token), [&] { seen = visible(); });
    return seen;
  }

 private:
  void* const gdk;
};

TEST_F(Activation, TokenIsVisibleInOneEventsCallbackAlone) {
  setenv(kVariable, "of the start", 1);
  static const Activation* self = nullptr;
  self = this;
  static const std::string longest(ActivationToken::kMaxSize, 'x');
  static const auto note = [](std::string text) {
    for (std::size_t at = 0; (at = text.find(longest)) != std::string::npos;)
      text.replace(at, longest.size(), "LONGEST");
    told.push_back(std::move(text));
  };
  manager->setClickCallback([] { note("click " + self->visible()); });
  manager->setMenuItemCallback([](const char* id) { note(id + (" " + self->visible())); });
  auto* const functions = G_APPLICATION_GET_CLASS(application.get());
  functions->before_emit = [](GApplication*, GVariant* data) { note("before " + text(data)); };
  functions->after_emit = [](GApplication*, GVariant* data) { note("after " + text(data)); };
  g_application_set_default(application.get());
  showInPanel();
  const auto call = [this](const char* interface, const char* method, const char* arguments) {
    return [=, this](auto&) { panel->call(interface, method, arguments); };
  };
  const auto provide = [&](std::string token) {
    if (const auto at = token.find("LONGEST"); at != std::string::npos) token.replace(at, 7, longest);
    if (token == "MEBIBYTE") token.assign(1 << 20, 'x');
    panel->call(kItem, "ProvideXdgActivationToken", ("('" + token + "',)").c_str());
  };
  expectSteps("tokens.txt",
              {{"token", provide},
               {"thousand",
                [&](auto&) {
                  for (int i = 0; i < 1000; ++i) provide("many" + std::to_string(i));
                }},
               {"register", [&](auto&) { registerApplication(); }},
               {"activate", call(kItem, "Activate", "(1, 2)")},
               {"contextMenu", call(kItem, "ContextMenu", "(1, 2)")},
               {"middle", call(kItem, "SecondaryActivate", "(1, 2)")},
               {"scroll", call(kItem, "Scroll", "(1, 'vertical')")},
               {"choose", call(kMenu, "Event", "(1, 'clicked', <0>, uint32 0)")},
               {"close", call(kMenu, "Event", "(0, 'closed', <0>, uint32 0)")},
               {"root", call(kMenu, "Event", "(0, 'clicked', <0>, uint32 0)")},
               {"group", call(kMenu, "EventGroup", "([(1, 'clicked', <0>, uint32 0), (1, 'clicked', <0>, 0)],)")}});
  EXPECT_EQ(visible(), "|");
}

TEST_F(Activation, TokenIsOfTheInnermostEventOfItsThread) {
  const auto current = [this] { told.push_back(visible() + "|" + ActivationToken::current().text()); };
  const auto event = [&](const char* token, const std::function<void()>& work) {
    runWithActivationToken(*ActivationToken::parse(token), work);
  };
  event("outer", [&] {
    event("", current);
    event("inner", current);
    std::thread([&] { told.push_back(ActivationToken::current().text()); }).join();
    current();
  });
  current();
  EXPECT_THAT(told, ElementsAre("||", "inner|inner|inner", "", "outer|outer|outer", "||"));
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
    runWithActivationToken(*ActivationToken::parse("t1"), [&] {
      for (const char* url : {":a", ":b"}) desktop.openUrl({scheme + url});
    });
    desktop.openUrl({scheme + ":late"});
    const auto poll = desktop.mainQueue().repeat(10ms, [] {});
    runUntil([&] { return others.received.size() == 3 || std::ranges::count(contents(notes), '\n') == 3; });
    return std::exchange(others.received, {});
  };
  setenv("DESKTOP_STARTUP_ID", "of the start", 1);
  const std::string data = "{'activation-token': <'t1'>, 'desktop-startup-id': <'t1'>})";
  EXPECT_THAT(open("service"), ElementsAre("Open(['service:a'], " + data, "Open(['service:b'], " + data,
                                           "Open(['service:late'], @a{sv} {})"));
  setenv("container", "a sandbox", 1);
  const std::string options = "{'activation_token': <'t1'>})";
  EXPECT_THAT(open("portal"), ElementsAre("OpenURI('', 'portal:a', " + options, "OpenURI('', 'portal:b', " + options,
                                          "OpenURI('', 'portal:late', @a{sv} {})"));
  unsetenv("container");
  open("program");
  EXPECT_THAT(contents(notes), AllOf(HasSubstr("program:a t1|t1\n"), HasSubstr("program:b t1|t1\n"),
                                     HasSubstr("program:late |of the start\n")));
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
  for (int i = 0; i < 20'000 || reads < 1000; ++i) {
    runWithActivationToken(*ActivationToken::parse("t"), [] { unsetenv(kVariable); });
    ASSERT_EQ(visibleDuring("t"), "t|t");
    if (list == nullptr) list = environ;
    ASSERT_EQ(list, environ) << "moved";
  }
  isOver = true;
  reader.join();
  EXPECT_EQ(missed, 0);
  unsetenv(kVariable);
  for (char** const kept : {before, list}) {  // as they were, to the end
    EXPECT_TRUE(std::equal(variables.begin(), variables.end(), kept) && kept[variables.size()] == nullptr);
  }
}

TEST_F(Activation, HostsOwnChangesOfTheEnvironmentStay) {
  EXPECT_EQ(visibleDuring("t1"), "t1|t1");
  setenv("QUILL_NEW", "new", 1), unsetenv(kVariable);
  EXPECT_EQ(visibleDuring("t2"), "t2|t2");
  EXPECT_STREQ(std::getenv("QUILL_NEW"), "new");
  setenv(kVariable, "the host's", 1);
  EXPECT_EQ(visibleDuring("t3"), "t3|t3");
  clearenv();
  EXPECT_EQ(visibleDuring("t4"), "t4|t4");
  EXPECT_EQ(visible(), "|");
}

}  // namespace quill::freedesktop::tests
