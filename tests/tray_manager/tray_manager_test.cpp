#include "manager_fixture.h"

#include <unwind.h>

#include <array>

namespace quill::tests {

// tests/support/typical_run.txt has the log lines of a typical run, in order. The tests below look at those of other
// states.

TEST_F(ManagerTest, CreateTrayWithoutAMenuShowsTheBasicMenu) {
  manager->createTray();
  EXPECT_THAT(takeLines(), Contains("INFO 已创建并设置基本菜单"));
  const auto basic = manager->menu;
  EXPECT_THAT(basic->items(),
              ElementsAre(Pointee(Field(&MenuItem::title, "设置")), Pointee(Field(&MenuItem::isSeparator, true)),
                          Pointee(AllOf(Field(&MenuItem::title, "退出"), Field(&MenuItem::keyEquivalent, "q"),
                                        Field(&MenuItem::keyEquivalentModifierMask, kCommand)))));
  for (const auto* title : {"设置", "退出"}) EXPECT_TRUE(desktop.choose(title));
  EXPECT_TRUE(desktop.terminations == 1 && basic->appearance == Appearance::light);
  EXPECT_THAT(manager->performed, ElementsAre("basic menu", "standard menu", "quitApplication"));
  manager->createTray();
  EXPECT_THAT(takeLines(), Contains("INFO 已设置菜单: <Menu>，菜单项数量: 3"));
  EXPECT_EQ(manager->statusItem->announcedMenu(), basic);
  for (const auto orientation : {Orientation::horizontal, Orientation::vertical})
    EXPECT_EQ(manager->statusItem->button()->contentHuggingPriority(orientation), kRequiredLayoutPriority);
}

TEST_F(ManagerTest, RecordsWithoutItemOrButtonWaitForTheNextCreate) {
  manager->createTray();
  const auto basic = manager->menu;
  takeLines();
  desktop.refusesStatusItems = true;
  manager->createTray();
  EXPECT_THAT(takeLines(), ElementsAre(_, "ERROR 状态项创建失败"));
  EXPECT_EQ(manager->statusItem, nullptr);
  desktop.refusesStatusItems = false;
  desktop.refusesButtons = true;
  manager->setMenuItems({{"a", "A", true, ""}, {"b", "B", false, ""}});
  EXPECT_EQ(manager->menu, basic);
  const std::string fromRecords = "INFO 已使用动态菜单数据创建菜单，菜单项数量: 2";
  manager->createTray();
  EXPECT_THAT(takeLines(), IsSupersetOf({fromRecords.c_str(), "DEBUG 状态项按钮: nil", "DEBUG 按钮尺寸: 0.0x0.0"}));
  EXPECT_TRUE(manager->performed.back() == "standard menu" && desktop.choose("B"));
  desktop.application->currentEvent = Event{EventType::rightMouseUp};
  manager->perform(selectors::kHandleClick, nullptr);  // there is no place to open the menu at
  EXPECT_THAT(desktop.poppedUp, IsEmpty());
  desktop.application.reset();
  manager->hasMemory = false;
  EXPECT_THROW(manager->setMenuItems({}), std::bad_alloc);
  const auto item = manager->statusItem;
  EXPECT_THROW(manager->createTray(), std::bad_alloc);
  EXPECT_EQ(manager->statusItem, item);
  manager->hasMemory = true;
  manager->createTray();
  EXPECT_THAT(takeLines(), Contains(fromRecords)) << "the records of before";
}

TEST_F(ManagerTest, LeftClickCallsTheHostAndRightClickOpensTheMenu) {
  struct Delegate : TrayManagerDelegate {
    void trayManagerDidClick(TrayManager&) override { told.emplace_back("delegate"); }
  };
  const auto delegate = std::make_shared<Delegate>();
  manager->delegate = delegate;
  manager->setClickCallback(tellClick);
  manager->createTray();
  takeLines();
  desktop.click();
  EXPECT_THAT(std::exchange(told, {}), ElementsAre("click", "delegate"));

  desktop.application->effectiveAppearance = Appearance::dark;
  desktop.rightClick();
  desktop.application->currentEvent = Event{EventType::rightMouseDown};
  manager->perform(selectors::kHandleClick, nullptr);
  desktop.application->currentEvent.reset();
  EXPECT_THAT(told, IsEmpty());
  ASSERT_EQ(desktop.poppedUp.size(), 2U);
  EXPECT_TRUE(desktop.poppedUp[0].menu == manager->menu.get() && desktop.poppedUp[0].at == (Point{0.0, 22.0}));
  EXPECT_EQ(manager->menu->appearance, Appearance::dark);

  manager->setClickCallback(nullptr);
  desktop.click();
  EXPECT_THAT(std::exchange(told, {}), ElementsAre("delegate"));
  desktop.application.reset();
  manager->setClickCallback(tellClick);
  desktop.rightClick();
  EXPECT_THAT(std::exchange(told, {}), ElementsAre("click", "delegate")) << "without an event a click is a left one";
  EXPECT_THAT(takeLines(), IsEmpty());

  manager->setClickCallback([] { throw std::runtime_error("host's \xFF'fault"); });
  desktop.click();
  EXPECT_THAT(told, ElementsAre("delegate"));
  manager->setMenuItemCallback([](const char*) { throw told; });
  MenuItem item;
  item.representedObject = std::string("a");
  manager->perform("handleMenuItemAction:", &item);
  static struct {
    std::array<std::uintptr_t, 16> before;  // where the C++ runtime keeps the type of its own exceptions
    _Unwind_Exception exception;
  } foreign{};
  foreign.before.fill(1);
  foreign.exception.exception_class = 1;
  manager->setClickCallback([] { _Unwind_RaiseException(&foreign.exception); });
  desktop.click();
  EXPECT_THAT(takeLines(),
              ElementsAre("ERROR 宿主回调抛出异常: host's \uFFFD'fault",
                          StartsWith("ERROR 宿主回调抛出异常: std::vector<std::"), "ERROR 宿主回调抛出异常: unknown"));
}

TEST_F(ManagerTest, ChosenMenuItemReportsItsIdentifier) {
  manager->createTray();
  takeLines();
  manager->setMenuItems({{"a", "A", true, "Cmd+"},
                         {"", "empty", true, "Hyper+Cmd+K"},
                         {{"x\0y", 3}, "nul", true, "K"},
                         {"off", "disabled", false, ""}});
  takeLines();
  const auto& plain = *manager->menu->items()[2];
  EXPECT_TRUE(plain.keyEquivalent == "k" && plain.keyEquivalentModifierMask == ModifierFlags{});

  desktop.choose("A");
  manager->setMenuItemCallback(tellChoice);
  for (const auto* title : {"A", "empty", "nul", "disabled"}) EXPECT_TRUE(desktop.choose(title));
  EXPECT_THAT(told, ElementsAre("a", "", "x"));
  MenuItem foreign;
  foreign.representedObject = 5;
  manager->perform(selectors::kHandleMenuItemAction, &foreign);
  EXPECT_TRUE(manager->perform(selectors::kHandleMenuItemAction, nullptr));
  const std::string noIdentifier = "WARN 菜单项点击：无法获取菜单项 ID";
  EXPECT_THAT(takeLines(), ElementsAre("WARN 菜单项点击：回调函数未设置，菜单项 ID: a", noIdentifier, noIdentifier));
  EXPECT_FALSE(manager->perform("noSuchOperation", nullptr));
}

TEST_F(ManagerTest, HostMenuGetsTheLibrarysLookUntilRecordsReplaceIt) {
  const auto hostMenu = std::make_shared<Menu>();
  const auto item = MenuItem::make("plain", {}, "x");
  item->attributedTitle = AttributedTitle{"styled", {30.0}};
  hostMenu->addItem(item);
  manager->createTray();
  takeLines();
  desktop.application->effectiveAppearance = Appearance::dark;
  manager->statusItem->button()->sendActionOn(0);
  manager->setMenu(hostMenu);
  EXPECT_TRUE(hostMenu->font == Font{13.0} && hostMenu->minimumWidth == 250.0 &&
              hostMenu->appearance == Appearance::dark);
  EXPECT_TRUE(item->attributedTitle->text == "plain" && item->attributedTitle->font == Font{13.0});
  EXPECT_EQ(manager->statusItem->button()->actionMask(), kClickEvents);
  EXPECT_EQ(manager->statusItem->announcedMenu(), hostMenu);
  manager->setMenuItems({});
  EXPECT_THAT(takeLines(), ElementsAre("INFO 菜单已设置，菜单项数量: 1", "INFO 菜单已更新，菜单项数量: 0"));
  EXPECT_TRUE(manager->menu->minimumWidth == 0.0 && manager->menu->appearance == Appearance::dark);
}

TEST_F(ManagerTest, MainIconIsShownAsATemplateCopy) {
  const auto& [group, icon, animated] =
      std::tie(manager->animatedView, manager->mainIconView, manager->animatedIconView);
  EXPECT_THAT(group->subviews(), ElementsAre(icon, animated));
  for (const auto& view : {icon, animated})
    EXPECT_TRUE(group->isHidden() && view->isHidden() && view->alphaValue() == 0 && view->frame().size == kIconSize);
  const auto source = image(64, 32);
  animated->setAlphaValue(1.0);
  manager->setMainIcon(source);
  EXPECT_THAT(takeLines(), ElementsAre(_, "DEBUG 原始图标尺寸: 64.0x32.0", _, _, _, "DEBUG statusItem: nil",
                                       "DEBUG statusItem.button: nil"));
  EXPECT_TRUE(manager->mainIcon->isTemplate() && manager->mainIcon->size() == kIconSize);
  EXPECT_FALSE(source.isTemplate() || source.size() == kIconSize);
  EXPECT_TRUE(icon->image() == manager->mainIcon && icon->alphaValue() == 1.0 && animated->alphaValue() == 0.0);
  manager->setMainIcon(Image(std::make_shared<Pixels>(), {100'000, 0.00005}));
  EXPECT_THAT(takeLines()[1], "DEBUG 原始图标尺寸: 100000.0x0.00005");

  manager->createTray();
  const auto button = manager->statusItem->button();
  EXPECT_EQ(button->image(), std::nullopt) << "an earlier icon is not put on a new button";
  button->setFrame({{3, 4}, {30, 22}});
  spoilLook(*button);
  takeLines();
  manager->setMainIcon(source);
  EXPECT_THAT(takeLines(), AllOf(SizeIs(10), Contains("DEBUG 已重置按钮尺寸为: 22.0x22.0")));
  EXPECT_EQ(button->frame(), (Rect{{3, 4}, {22, 22}}));
  EXPECT_EQ(button->image(), manager->mainIcon);
  EXPECT_EQ(look(*button), kImageOnly);

  manager->setMainIcon(source);
  EXPECT_THAT(takeLines(), SizeIs(9)) << "no reset line for a button of the right size";
  desktop.mainQueue().runAll();
  EXPECT_EQ(desktop.presentations, 1) << "many settings, one presentation";
}

}  // namespace quill::tests
