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

 private:
  void* const gdk;
};

TEST_F(Activation, ATokenIsVisibleInOneEventsCallbackAndNowhereElse) {
  setenv(kVariable, "of the start", 1);
  static const Activation* self = nullptr;
  self = this;
  manager->setClickCallback([] { told.push_back("click " + self->visible()); });
  manager->setMenuItemCallback([](const char* id) { told.push_back(id + (" " + self->visible())); });
  showInPanel();
  const std::string longest(ActivationToken::kMaxSize, 'x');
  struct Call {
    const char *interface, *method;
    std::string arguments;
  };
  const auto token = [](const std::string& text) {
    return Call{kItem, "ProvideXdgActivationToken", "('" + text + "',)"};
  };
  const Call activate{kItem, "Activate", "(1, 2)"}, contextMenu{kItem, "ContextMenu", "(1, 2)"};
  const Call middle{kItem, "SecondaryActivate", "(1, 2)"}, scroll{kItem, "Scroll", "(1, 'vertical')"};
  const Call choose{kMenu, "Event", "(1, 'clicked', <0>, uint32 0)"},
      close{kMenu, "Event", "(0, 'closed', <0>, uint32 0)"};
  const Call root{kMenu, "Event", "(0, 'clicked', <0>, uint32 0)"};
  const Call group{kMenu, "EventGroup", "([(1, 'clicked', <0>, uint32 0), (1, 'clicked', <0>, 0)],)"};
  const std::pair<std::vector<Call>, Lines> cases[] = {
      {{activate}, {"click of the start|"}},
      {{token("t1"), activate, activate}, {"click t1|t1", "click |"}},
      {{token("t2"), close, choose, choose}, {"a t2|t2", "a |"}},
      {{token("t3"), group}, {"a t3|t3", "a |"}},
      {{token("t4"), contextMenu, choose}, {"a |"}},
      {{token("t5"), middle, activate, token("t6"), scroll, choose, token("t7"), root, choose},
       {"click |", "a |", "a |"}},
      {{token("t8"), token(""), activate}, {"click |"}},
      {{token("t9"), token("two\\nlines"), token("\\u007f"), token("\\u009f"), token(longest + "x"), activate},
       {"click t9|t9"}},
      {{token(longest), choose, token("\u00e4"), activate}, {"a " + longest + "|" + longest, "click \u00e4|\u00e4"}},
      {{token("t10"), choose, token("t11"), choose, activate}, {"a t10|t10", "a t11|t11", "click |"}},
  };
  for (const auto& [calls, expected] : cases) {
    for (const auto& call : calls) panel->call(call.interface, call.method, call.arguments.c_str());
    panel->takeSignals();
    EXPECT_EQ(std::exchange(told, {}), expected);
  }
  for (int i = 0; i < 1000; ++i)
    panel->call(kItem, "ProvideXdgActivationToken", ("('many" + std::to_string(i) + "',)").c_str());
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

TEST_F(Activation, OtherThreadsReadTheEnvironmentWhileTokensComeAndQtRemovesThem) {
  setenv("QUILL_LAST", "there", 1);
  std::atomic<bool> isOver = false;
  std::atomic<int> missed = 0, reads = 0;
  std::jthread reader([&] {
    for (; !isOver; ++reads) missed += std::getenv("QUILL_LAST") == nullptr;
  });
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
  // The host's own variables stay, whatever it does.
  setenv("QUILL_NEW", "new", 1), unsetenv(kVariable);
  runWithActivationToken(token, [&] { told = {visible(), std::getenv("QUILL_NEW"), std::getenv("QUILL_LAST")}; });
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
