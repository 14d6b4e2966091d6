#include "manager_fixture.h"

namespace quill::tests {

// tests/support/typical_run.txt has the log lines of a typical run, in order. The tests below read the lines of other
// states. tests/appkit/steps.txt has the items of the basic menu, and the font, width and titles of a host's menu.

TEST_F(ManagerTest, TrayWithoutAMenuShowsTheBasicMenu) {
  manager->createTray();
  EXPECT_THAT(takeLines(), Contains("INFO 已创建并设置基本菜单"));
  EXPECT_EQ(manager->standardMenus, 1) << "a subclass may replace the menu that this one starts from";
  const auto basic = manager->menu;
  for (const auto* title : {"设置", "退出"}) EXPECT_TRUE(desktop.choose(title));
  EXPECT_EQ(desktop.terminations, 1);
  manager->createTray();
  EXPECT_THAT(takeLines(), Contains("INFO 已设置菜单: <Menu>，菜单项数量: 3"));
  EXPECT_EQ(manager->statusItem->announcedMenu(), basic);
}

TEST_F(ManagerTest, RecordsWaitForAnItem) {
  desktop.refusesStatusItems = true;
  manager->setMenuItems({{"a", "A", true, ""}, {"b", "B", false, ""}});
  manager->createTray();
  EXPECT_THAT(takeLines(), ElementsAre(_, "ERROR 状态项创建失败"));
  EXPECT_EQ(manager->menu, nullptr);
  desktop.refusesStatusItems = false;
  desktop.refusesButtons = true;
  manager->createTray();
  EXPECT_THAT(takeLines(), IsSupersetOf({"DEBUG 状态项按钮: nil", "INFO 已使用动态菜单数据创建菜单，菜单项数量: 2",
                                         "DEBUG 按钮尺寸: 0.0x0.0"}));
  EXPECT_EQ(manager->standardMenus, 1);
  EXPECT_TRUE(desktop.choose("B"));
  desktop.application->currentEvent = Event{EventType::rightMouseUp};
  manager->perform("handleClick", nullptr);
  EXPECT_THAT(desktop.poppedUp, IsEmpty()) << "there is no button to open the menu at";
}

TEST_F(ManagerTest, LeftClickCallsTheCallbackThenTheDelegate) {
  struct Delegate : TrayManagerDelegate {
    void trayManagerDidClick(TrayManager&) override { told.emplace_back("delegate"); }
  };
  const auto delegate = std::make_shared<Delegate>();
  manager->delegate = delegate;
  manager->setClickCallback(tellClick);
  manager->createTray();
  desktop.click();
  EXPECT_THAT(told, ElementsAre("click", "delegate"));
  manager->setClickCallback(nullptr);
  desktop.application.reset();
  desktop.rightClick();
  EXPECT_THAT(told, ElementsAre("click", "delegate", "delegate")) << "without an event a click is a left one";
}

TEST_F(ManagerTest, RightClickOpensTheMenuBelowTheIcon) {
  manager->setClickCallback(tellClick);
  manager->createTray();
  desktop.application->effectiveAppearance = Appearance::dark;
  desktop.rightClick();
  ASSERT_THAT(desktop.poppedUp, SizeIs(1));
  EXPECT_EQ(desktop.poppedUp[0].menu, manager->menu.get());
  EXPECT_EQ(desktop.poppedUp[0].at, (Point{0.0, 22.0}));
  EXPECT_EQ(manager->menu->appearance, Appearance::dark);
  desktop.application->currentEvent = Event{EventType::rightMouseDown};
  manager->perform("handleClick", nullptr);
  EXPECT_THAT(desktop.poppedUp, SizeIs(2));
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(ManagerTest, ExceptionOfACallbackIsLogged) {
  manager->createTray();
  manager->setMenuItems({{"a", "A", true, ""}});
  takeLines();
  manager->setClickCallback([] { throw std::runtime_error("host's \xFF'fault"); });
  desktop.click();
  manager->setMenuItemCallback([](const char*) { throw told; });
  desktop.choose("A");
  EXPECT_THAT(takeLines(), ElementsAre("ERROR 宿主回调抛出异常: host's \uFFFD'fault",
                                       StartsWith("ERROR 宿主回调抛出异常: std::vector<std::")));
}

TEST_F(ManagerTest, ChosenItemReportsItsIdentifier) {
  manager->createTray();
  manager->setMenuItems({{"a", "A", true, "Cmd+"},
                         {"", "empty", true, "Hyper+Cmd+K"},
                         {{"x\0y", 3}, "nul", true, "K"},
                         {"off", "disabled", false, ""}});
  takeLines();
  EXPECT_EQ(manager->menu->items()[2]->keyEquivalent, "k");
  EXPECT_EQ(manager->menu->items()[2]->keyEquivalentModifierMask, ModifierFlags{}) << "not the default, Command";
  desktop.choose("A");
  manager->setMenuItemCallback(tellChoice);
  for (const auto* title : {"A", "empty", "nul", "disabled"}) EXPECT_TRUE(desktop.choose(title));
  EXPECT_THAT(told, ElementsAre("a", "", "x"));
  manager->perform("handleMenuItemAction:", MenuItem::separator().get());
  EXPECT_THAT(takeLines(),
              ElementsAre("WARN 菜单项点击：回调函数未设置，菜单项 ID: a", "WARN 菜单项点击：无法获取菜单项 ID"));
}

TEST_F(ManagerTest, HostMenuIsAnnouncedUntilRecordsReplaceIt) {
  const auto hostMenu = std::make_shared<Menu>();
  manager->createTray();
  manager->statusItem->button()->sendActionOn(0);
  desktop.application->effectiveAppearance = Appearance::dark;
  manager->setMenu(hostMenu);
  EXPECT_EQ(hostMenu->appearance, Appearance::dark);
  EXPECT_EQ(manager->statusItem->button()->actionMask(), kClickEvents);
  EXPECT_EQ(manager->statusItem->announcedMenu(), hostMenu);
  manager->setMenuItems({});
  EXPECT_EQ(manager->statusItem->announcedMenu(), manager->menu);
  EXPECT_EQ(manager->menu->appearance, Appearance::dark);
}

TEST_F(ManagerTest, IconBeforeTheItemIsNotPutOnItsButton) {
  manager->setMainIcon(Image(std::make_shared<Pixels>(), {100'000, 0.00005}));
  EXPECT_THAT(takeLines(), ElementsAre(_, "DEBUG 原始图标尺寸: 100000.0x0.00005", _, _, _, "DEBUG statusItem: nil",
                                       "DEBUG statusItem.button: nil"));
  manager->createTray();
  EXPECT_EQ(manager->statusItem->button()->image(), std::nullopt);
}

TEST_F(ManagerTest, IconReachesAHiddenViewBelowTheFrames) {
  const auto icon = manager->mainIconView;
  const auto frames = manager->animatedIconView;
  EXPECT_THAT(manager->animatedView->subviews(), ElementsAre(icon, frames));
  for (const auto& view : {icon, frames})
    EXPECT_TRUE(view->isHidden() && view->alphaValue() == 0.0 && view->frame().size == kIconSize);
  frames->setAlphaValue(1.0);
  manager->setMainIcon(image(64));
  EXPECT_TRUE(manager->animatedView->isHidden() && icon->alphaValue() == 1.0 && frames->alphaValue() == 0.0);
  EXPECT_EQ(icon->image(), manager->mainIcon);
}

TEST_F(ManagerTest, IconGivesTheButtonItsSizeAndLook) {
  manager->createTray();
  auto& button = *manager->statusItem->button();
  button.setFrame({{3, 4}, {30, 22}});
  button.setHidden(true);
  button.setAlphaValue(0.5);
  takeLines();
  manager->setMainIcon(image(64));
  EXPECT_THAT(takeLines(), Contains("DEBUG 已重置按钮尺寸为: 22.0x22.0"));
  EXPECT_EQ(button.frame(), (Rect{{3, 4}, {22, 22}}));
  EXPECT_EQ(button.image(), manager->mainIcon);
  EXPECT_TRUE(showsImageOnly(button));
  desktop.mainQueue().runAll();
  EXPECT_EQ(desktop.presentations, 1) << "many settings, one presentation";
}

}  // namespace quill::tests
