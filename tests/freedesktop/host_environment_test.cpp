#include <gio/gio.h>

#include <utility>

#include "gobject_handles.h"
#include "panel_fixture.h"

namespace quill::freedesktop {
namespace {

using ::testing::ElementsAre;

/// The portal's settings, on a connection of its own.
class FakePortal {
 public:
  explicit FakePortal(const std::string& address)
      : connection_(queue_, address,
                    {[this](sd_bus* bus) {
                       static const sd_bus_vtable vtable[] = {
                           SD_BUS_VTABLE_START(0), SD_BUS_METHOD("Read", "ss", "v", onRead, SD_BUS_VTABLE_UNPRIVILEGED),
                           SD_BUS_VTABLE_END};
                       sd_bus_add_object_vtable(bus, nullptr, kPath, kInterface, vtable, this);
                       sd_bus_request_name_async(bus, nullptr, "org.freedesktop.portal.Desktop", 0, nullptr, nullptr);
                       bus_ = bus;
                     },
                     [] {}}) {
    connection_.start();
  }
  void change(std::uint32_t value) { signalChange(bus_, value); }
  static void signalChange(sd_bus* bus, std::uint32_t value) {
    sd_bus_emit_signal(bus, kPath, kInterface, "SettingChanged", "ssv", "org.freedesktop.appearance", "color-scheme",
                       "u", value);
  }

  std::uint32_t scheme = 1;
  int reads = 0;

 private:
  static constexpr auto kPath = "/org/freedesktop/portal/desktop";
  static constexpr auto kInterface = "org.freedesktop.portal.Settings";
  static int onRead(sd_bus_message* call, void* self, sd_bus_error*) {
    auto& portal = *static_cast<FakePortal*>(self);
    ++portal.reads;
    return sd_bus_reply_method_return(call, "v", "v", "u", portal.scheme);
  }

  GlibMainQueue queue_;
  sd_bus* bus_ = nullptr;
  Bus connection_;
};

class HostEnvironment : public PanelTest {
 protected:
  bool becomes(Appearance appearance) {
    return runUntil([&] { return desktop.application->effectiveAppearance == appearance; });
  }
};

TEST_F(HostEnvironment, FollowsThePortalsColourScheme) {
  showInPanel();
  EXPECT_EQ(desktop.application->effectiveAppearance, Appearance::light);
  auto portal = std::make_unique<FakePortal>(bus.address());  // starts late
  EXPECT_TRUE(becomes(Appearance::dark));
  portal->change(2);
  EXPECT_TRUE(becomes(Appearance::light));
  portal->change(1);
  EXPECT_TRUE(becomes(Appearance::dark));
  FakePanel stranger(bus.address());
  stranger.itemName = panel->itemName;
  FakePortal::signalChange(sd_bus_message_get_bus(stranger.newCall(FakePanel::kItem, "Scroll").get()), 2);
  stranger.getAll(FakePanel::kItem);  // answered after the signal has come in
  EXPECT_EQ(desktop.application->effectiveAppearance, Appearance::dark);
  portal->change(0);
  EXPECT_TRUE(becomes(Appearance::light));
  EXPECT_EQ(portal->reads, 1);
  portal = std::make_unique<FakePortal>(bus.address());  // restarted
  EXPECT_TRUE(becomes(Appearance::dark));
}

std::vector<std::string> emissions;

void note(const char* moment, GVariant* platformData) {
  for (const char* key : {"activation-token", "desktop-startup-id"}) {
    const char* token = "none";
    g_variant_lookup(platformData, key, "&s", &token);
    emissions.push_back(std::string(moment) + " " + key + "=" + token);
  }
}

ObjectPointer<GApplication> makeApplication() {
  static const GType type = g_type_register_static_simple(
      G_TYPE_APPLICATION, "QuillTestApplication", sizeof(GApplicationClass),
      [](gpointer derived, gpointer) {
        auto* const functions = static_cast<GApplicationClass*>(derived);
        functions->before_emit = [](GApplication*, GVariant* data) { note("before", data); };
        functions->after_emit = [](GApplication*, GVariant* data) { note("after", data); };
      },
      sizeof(GApplication), nullptr, G_TYPE_FLAG_NONE);
  return ObjectPointer<GApplication>(G_APPLICATION(g_object_new(type, "flags", G_APPLICATION_NON_UNIQUE, nullptr)));
}

TEST_F(HostEnvironment, SurroundsAClickWithThePanelsTokenOnce) {
  showInPanel();
  const auto application = makeApplication();
  g_application_set_default(application.get());
  host->onPerform = [&] { emissions.emplace_back("click"); };
  const auto clickWithToken = [&](const char* token) {
    emissions.clear();
    if (token != nullptr) panel->call(FakePanel::kItem, "ProvideXdgActivationToken", "s", token);
    const auto before = host->told.size();
    panel->call(FakePanel::kItem, "Activate", "ii", 0, 0);
    EXPECT_TRUE(runUntil([&] { return host->told.size() > before; }));
    panel->takeSignals();
    return emissions;
  };
  EXPECT_THAT(clickWithToken("early"), ElementsAre("click"));   // not registered
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);  // GIO's own connection would outlive the bus
  ASSERT_TRUE(g_application_register(application.get(), nullptr, nullptr));
  EXPECT_THAT(clickWithToken("t1"), ElementsAre("before activation-token=t1", "before desktop-startup-id=t1", "click",
                                                "after activation-token=t1", "after desktop-startup-id=t1"));
  EXPECT_THAT(clickWithToken(nullptr), ElementsAre("click"));
  EXPECT_THAT(clickWithToken(""), ElementsAre("click"));
}

}  // namespace
}  // namespace quill::freedesktop
