// The animation as a panel on the bus sees it.

#include "panel_fixture.h"
#include "tray_manager.h"

namespace quill::freedesktop {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;

class Manager : public TrayManager {
 public:
  using TrayManager::isAnimating;
  using TrayManager::make;

 protected:
  using TrayManager::TrayManager;
};

class AnimationOnABus : public PanelTest {
 protected:
  static constexpr nanoseconds kTick = 35ms;

  AnimationOnABus() {
    setenv("HOME", ::testing::TempDir().c_str(), 1);
    bus.start();
    panel = std::make_unique<FakePanel>(bus.address());
    manager->createTray();
    panel->waitForItem();
    panel->takeSignals();
  }
  /// A template that is different for each number.
  static Image picture(int number) {
    auto pixels = std::make_shared<Pixels>(Pixels{44, 44, std::vector<std::uint8_t>(44 * 44 * 4)});
    for (int i = 0; i < 44 * (4 + number); ++i) pixels->rgba[static_cast<std::size_t>(i) * 4 + 3] = 255;
    return {pixels, {22, 22}};
  }
  /// The bytes of the smallest icon that the panel is offered.
  std::string iconInPanel() {
    const auto reply = panel->call("org.freedesktop.DBus.Properties", "Get", "ss", FakePanel::kItem, "IconPixmap");
    const void* data = nullptr;
    std::size_t size = 0;
    sd_bus_message_enter_container(reply.get(), 'v', "a(iiay)");
    sd_bus_message_enter_container(reply.get(), 'a', "(iiay)");
    sd_bus_message_enter_container(reply.get(), 'r', "iiay");
    sd_bus_message_skip(reply.get(), "ii");
    sd_bus_message_read_array(reply.get(), 'y', &data, &size);
    return {static_cast<const char*>(data), size};
  }
  std::string iconOf(int number) {
    manager->setMainIcon(picture(number));
    panel->takeSignals();
    return iconInPanel();
  }

  std::shared_ptr<Manager> manager = Manager::make<Manager>(desktop);
};

TEST_F(AnimationOnABus, ShowsEachFrameInItsTick) {
  for (const int count : {3, 30}) {
    std::vector<std::string> icons;
    for (int number = 1; number <= count; ++number) {
      icons.push_back(iconOf(number));
      manager->addAnimationFrame(picture(number));
    }
    const auto mainIcon = iconOf(0);
    icons.back() = mainIcon;  // the last frame gives way within its own tick

    std::vector<nanoseconds> at;
    panel->heard = [&](std::string_view signal) {
      if (signal == "NewIcon") at.push_back(monotonicNow());
    };
    const auto start = monotonicNow();
    manager->startAnimation();
    nanoseconds leastDelay = 1h;
    for (std::size_t i = 0; i < icons.size(); ++i) {
      ASSERT_TRUE(runUntil([&] { return at.size() > i; }));
      EXPECT_EQ(iconInPanel(), icons[i]) << i;
      // The first tick finds the first frame on show, which is no news.
      const auto due = start + (i == 0 ? nanoseconds(0) : kTick * static_cast<int>(i + 1));
      EXPECT_GE(at[i], due) << i;
      if (i > 0) leastDelay = std::min(leastDelay, (at[i] - due) % kTick);
    }
    EXPECT_LT(leastDelay, kTick / 2) << "the ticks stay on their grid";
    runFor(100ms);
    EXPECT_EQ(at.size(), icons.size()) << "and then no more";
    EXPECT_EQ(iconInPanel(), mainIcon);
    panel->heard = nullptr;
    manager->resetAnimation();
  }
}

TEST_F(AnimationOnABus, TheLastFrameStaysWithoutAMainIcon) {
  for (const int number : {1, 2}) manager->addAnimationFrame(picture(number));
  manager->startAnimation();
  ASSERT_TRUE(runUntil([&] { return !manager->isAnimating; }));
  EXPECT_THAT(panel->takeSignals(), ElementsAre("NewIcon", "NewIcon"));
  const auto last = iconInPanel();
  EXPECT_EQ(last, iconOf(2));
}

TEST_F(AnimationOnABus, TheHostsCallbackMayAnimate) {
  static Manager* animated;
  static int clicks = 0;
  animated = manager.get();
  manager->addAnimationFrame(picture(1));
  manager->setClickCallback([] {
    animated->startAnimation();
    animated->stopAnimation();
    animated->addAnimationFrame(picture(2));
    animated->startAnimation();
    if (++clicks == 2) animated->resetAnimation();
  });
  for (const int count : {1, 2}) {
    panel->call(FakePanel::kItem, "Activate", "ii", 0, 0);
    ASSERT_TRUE(runUntil([&] { return clicks == count; }));
    EXPECT_EQ(manager->isAnimating, count == 1);
  }
}

}  // namespace
}  // namespace quill::freedesktop
