#include <thread>

#include "manager_fixture.h"

namespace quill::testing {
namespace {

const Lines kCreatedBefore{"INFO 创建状态项，长度: NSStatusItem.squareLength", "INFO 状态项创建成功: <StatusItem>"};

Lines created(const std::string& menuLine, bool withButton = true) {
  auto lines = kCreatedBefore;
  lines.insert(lines.end(),
               {std::string("DEBUG 状态项按钮: ") + (withButton ? "<StatusBarButton>" : "nil"), "INFO 已设置状态项可见",
                menuLine, "INFO 已设置点击事件（左键切换窗口，右键显示菜单）", "INFO 已设置按钮可见",
                withButton ? "DEBUG 按钮尺寸: 22.0x22.0" : "DEBUG 按钮尺寸: 0.0x0.0"});
  return lines;
}

TEST_F(ManagerTest, StartsEmptyWithTheHiddenIconViewGroup) {
  EXPECT_FALSE(manager->statusItem || manager->mainIcon || manager->menu || manager->animationTimer);
  EXPECT_FALSE(manager->clickCallback || manager->menuItemCallback || manager->isAnimating);
  EXPECT_TRUE(manager->menuItems.empty() && manager->animationFrames.empty() && manager->delegate.expired());
  EXPECT_THAT(takeLines(), IsEmpty());
  EXPECT_EQ(desktop.statusItemsMade, 0);

  const Rect iconFrame{{0, 0}, {22, 22}};
  EXPECT_TRUE(manager->animatedView->isHidden());
  EXPECT_EQ(manager->animatedView->frame(), iconFrame);
  EXPECT_EQ(manager->animatedView->layer()->backgroundColor, kClearColor);
  EXPECT_THAT(manager->animatedView->subviews(), ElementsAre(manager->mainIconView, manager->animatedIconView));
  for (const auto& view : {manager->mainIconView, manager->animatedIconView}) {
    EXPECT_EQ(view->frame(), iconFrame);
    EXPECT_EQ(view->autoresizingMask(), 18U);
    EXPECT_EQ(view->imageScaling(), ImageScaling::proportionallyUpOrDown);
    EXPECT_TRUE(view->isHidden() && view->alphaValue() == 0.0);
  }
}

TEST(TrayManagerShared, IsOneForAllThreads) {
  std::vector<const TrayManager*> seen(8);
  std::vector<std::thread> threads;
  for (auto& slot : seen) threads.emplace_back([&slot] { slot = TrayManager::shared().get(); });
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(seen, ::testing::Each(::testing::AllOf(TrayManager::shared().get(), ::testing::NotNull())));
}

TEST_F(ManagerTest, CreateTakesTheMenuFromRecordsThenTheHostThenItself) {
  manager->createTray();
  EXPECT_EQ(takeLines(), created("INFO 已创建并设置基本菜单"));
  const auto basic = manager->menu;
  const auto first = manager->statusItem;
  desktop.mainQueue().runAll();
  EXPECT_THAT(desktop.shown, IsEmpty()) << "no icon before the host sets one";
  EXPECT_EQ(first->announcedMenu(), basic);
  EXPECT_EQ(first->length(), -2.0);
  EXPECT_EQ(first->button()->actionMask(), 20U);
  EXPECT_EQ(first->button()->frame(), (Rect{{0, 0}, {22, 22}}));
  EXPECT_EQ(first->button()->contentHuggingPriority(Orientation::vertical), 1000.0);

  manager->createTray();
  EXPECT_EQ(takeLines(), created("INFO 已设置菜单: <Menu>，菜单项数量: 3"));
  EXPECT_EQ(manager->menu, basic);
  EXPECT_NE(manager->statusItem, first);
  EXPECT_EQ(desktop.statusItemsMade, 2);
  EXPECT_EQ(manager->statusItem->announcedMenu(), basic);
}

TEST_F(ManagerTest, RecordsGivenBeforeCreationWinOverAHostMenu) {
  const auto hostMenu = std::make_shared<Menu>();
  manager->setMenu(hostMenu);
  manager->setMenuItems({{"a", "A", true, "K"}, {"b", "B", false, ""}});
  EXPECT_EQ(manager->menu, hostMenu) << "records wait for the status item";
  takeLines();
  manager->createTray();
  auto expected = created("INFO 已使用动态菜单数据创建菜单，菜单项数量: 2");
  expected.insert(expected.begin() + 4,
                  "DEBUG 已设置快捷键：K -> keyEquivalent: k, modifiers: NSEventModifierFlags(rawValue: 0)");
  EXPECT_EQ(takeLines(), expected);
}

TEST_F(ManagerTest, CreateGoesOnWithoutAButtonAndStopsWithoutAnItem) {
  desktop.refusesButtons = true;
  manager->createTray();
  EXPECT_EQ(takeLines(), created("INFO 已创建并设置基本菜单", false));
  const auto before = manager->menu;
  desktop.refusesStatusItems = true;
  manager->createTray();
  EXPECT_THAT(takeLines(), ElementsAre(kCreatedBefore[0], "ERROR 状态项创建失败"));
  EXPECT_EQ(manager->menu, before);
  EXPECT_EQ(manager->statusItem, nullptr);
}

TEST_F(ManagerTest, ClicksReachTheHostOrOpenTheMenu) {
  struct Delegate : TrayManagerDelegate {
    int clicks = 0;
    void trayManagerDidClick(TrayManager&) override { ++clicks; }
  };
  const auto delegate = std::make_shared<Delegate>();
  manager->delegate = delegate;
  manager->setClickCallback(Host::click);
  desktop.click();
  EXPECT_EQ(Host::clicks, 0) << "no item yet";

  manager->createTray();
  takeLines();
  desktop.click();
  EXPECT_EQ(Host::clicks, 1);
  EXPECT_EQ(delegate->clicks, 1);

  desktop.application->effectiveAppearance = Appearance::dark;
  desktop.rightClick();
  EXPECT_EQ(Host::clicks, 1);
  EXPECT_EQ(delegate->clicks, 1);
  ASSERT_EQ(desktop.poppedUp.size(), 1U);
  EXPECT_EQ(desktop.poppedUp[0].menu, manager->menu.get());
  EXPECT_EQ(desktop.poppedUp[0].at, (Point{0.0, 22.0}));
  EXPECT_EQ(manager->menu->appearance, Appearance::dark);

  desktop.mouseUp(EventType::rightMouseDown);
  EXPECT_EQ(desktop.poppedUp.size(), 1U) << "the button does not send its action on a press";

  manager->setClickCallback(nullptr);
  desktop.click();
  EXPECT_EQ(Host::clicks, 1);
  EXPECT_EQ(delegate->clicks, 2);

  desktop.application.reset();
  manager->setClickCallback(Host::click);
  desktop.rightClick();
  EXPECT_EQ(Host::clicks, 2) << "without a current event every click is a left one";
  EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(ManagerTest, BuiltInMenusAreMadeByOverridableOperations) {
  class Overriding : public Manager {
   public:
    std::shared_ptr<Menu> createStandardMenu() override {
      auto standard = Manager::createStandardMenu();
      EXPECT_TRUE(standard->items().empty() && standard->minimumWidth == 0.0 && standard->font == Font{0.0});
      EXPECT_EQ(standard->appearance, Appearance::dark);
      standard->minimumWidth = 77;
      return standard;
    }

   protected:
    using Manager::Manager;
  };
  desktop.application->effectiveAppearance = Appearance::dark;
  const auto overriding = Manager::make<Overriding>(desktop);
  overriding->createTray();
  EXPECT_EQ(overriding->menu->minimumWidth, 77);
  EXPECT_THAT(titles(*overriding->menu), ElementsAre("设置", "---", "退出"));
  EXPECT_EQ(overriding->menu->items()[2]->keyEquivalent, "q");
  EXPECT_EQ(overriding->menu->items()[2]->keyEquivalentModifierMask, kCommand);
  takeLines();
  EXPECT_TRUE(desktop.choose("设置"));
  EXPECT_EQ(desktop.terminations, 0);
  EXPECT_TRUE(desktop.choose("退出"));
  EXPECT_EQ(desktop.terminations, 1);
  EXPECT_THAT(takeLines(), IsEmpty());
  overriding->setMenuItems({{"a", "A", true, ""}});
  EXPECT_EQ(overriding->menu->minimumWidth, 77);
  desktop.application.reset();
  EXPECT_EQ(manager->createStandardMenu()->appearance, std::nullopt);
}

TEST_F(ManagerTest, MenuItemsReportTheirIdentifier) {
  manager->createTray();
  const auto before = manager->menu;
  takeLines();
  using namespace std::string_literals;
  manager->setMenuItems({{"a", "A", true, "Cmd+"},
                         {"", "empty", true, "Hyper+Cmd+K"},
                         {"x\0y"s, "nul", true, ""},
                         {"编号", "中文", true, ""},
                         {"off", "disabled", false, ""}});
  EXPECT_THAT(takeLines(), ElementsAre("WARN 无法解析快捷键：Cmd+，按键部分无效", "WARN 未知的修饰键：HYPER",
                                       "DEBUG 已设置快捷键：Hyper+Cmd+K -> keyEquivalent: k, modifiers: "
                                       "NSEventModifierFlags(rawValue: 1048576)",
                                       "INFO 菜单已更新，菜单项数量: 5"));
  EXPECT_NE(manager->menu, before);
  EXPECT_EQ(manager->menu->items()[0]->keyEquivalent, "");
  EXPECT_EQ(manager->menu->items()[0]->keyEquivalentModifierMask, kCommand);

  desktop.choose("A");
  EXPECT_THAT(takeLines(), ElementsAre("WARN 菜单项点击：回调函数未设置，菜单项 ID: a"));
  manager->setMenuItemCallback(Host::choose);
  for (const auto* title : {"A", "empty", "nul", "中文", "disabled"}) EXPECT_TRUE(desktop.choose(title));
  EXPECT_THAT(Host::chosen, ElementsAre("a", "", "x", "编号"));

  const auto foreign = MenuItem::make("foreign", selectors::kHandleMenuItemAction, "");
  foreign->action.target = manager;
  foreign->choose();
  foreign->representedObject = 5;
  foreign->choose();
  manager->perform(selectors::kHandleMenuItemAction, nullptr);
  const std::string noIdentifier = "WARN 菜单项点击：无法获取菜单项 ID";
  EXPECT_THAT(takeLines(), ElementsAre(noIdentifier, noIdentifier, noIdentifier));

  manager->setMenuItemCallback(nullptr);
  desktop.choose("empty");
  EXPECT_THAT(takeLines(), ElementsAre("WARN 菜单项点击：回调函数未设置，菜单项 ID: "));
  EXPECT_FALSE(manager->perform("noSuchOperation", nullptr));
}

TEST_F(ManagerTest, AHostMenuGetsTheLibrarysLookAndGivesWayToRecords) {
  const auto hostMenu = std::make_shared<Menu>();
  const auto item = MenuItem::make("plain", {}, "x");
  item->attributedTitle = AttributedTitle{"styled", {30.0}};
  item->submenu = std::make_shared<Menu>();
  item->submenu->addItem(MenuItem::make("inner", {}, ""));
  hostMenu->addItem(item);
  hostMenu->addItem(MenuItem::separator());
  manager->setMenu(hostMenu);
  EXPECT_THAT(takeLines(), ElementsAre("INFO 菜单已设置，菜单项数量: 2"));
  EXPECT_EQ(hostMenu->font, Font{13.0});
  EXPECT_EQ(hostMenu->minimumWidth, 250.0);
  EXPECT_EQ(item->attributedTitle->text, "plain");
  EXPECT_EQ(item->attributedTitle->font, Font{13.0});
  EXPECT_FALSE(item->submenu->items()[0]->attributedTitle);

  manager->createTray();
  EXPECT_EQ(takeLines(), created("INFO 已设置菜单: <Menu>，菜单项数量: 2"));
  manager->statusItem->button()->sendActionOn(0);
  manager->setMenu(std::make_shared<Menu>());
  EXPECT_THAT(takeLines(), ElementsAre("INFO 菜单已设置，菜单项数量: 0"));
  EXPECT_EQ(manager->statusItem->button()->actionMask(), 20U);
  EXPECT_EQ(manager->statusItem->announcedMenu(), manager->menu);

  manager->setMenuItems({});
  EXPECT_THAT(takeLines(), ElementsAre("INFO 菜单已更新，菜单项数量: 0"));
  EXPECT_EQ(manager->menu->minimumWidth, 0.0);
  EXPECT_EQ(manager->statusItem->announcedMenu(), manager->menu);
}

TEST_F(ManagerTest, MainIconIsATemplateCopyShownDirectly) {
  const auto source = image(16);
  manager->setMainIcon(source);
  Lines before{"DEBUG 设置主图标，原始图标: <Image 16x16 pixels>",
               "DEBUG 原始图标尺寸: 16.0x16.0",
               "DEBUG 原始图标是否为模板: false",
               "DEBUG 模板图标尺寸: 22.0x22.0",
               "DEBUG 模板图标是否为模板: true",
               "DEBUG statusItem: nil",
               "DEBUG statusItem.button: nil"};
  EXPECT_EQ(takeLines(), before);
  EXPECT_EQ(manager->mainIcon->size(), kIconSize);
  EXPECT_TRUE(manager->mainIcon->isTemplate());
  EXPECT_EQ(source.size(), (Size{16, 16}));
  EXPECT_FALSE(source.isTemplate());
  EXPECT_EQ(manager->mainIconView->image(), manager->mainIcon);
  EXPECT_EQ(manager->mainIconView->alphaValue(), 1.0);

  manager->createTray();
  const auto button = manager->statusItem->button();
  EXPECT_EQ(button->image(), std::nullopt) << "an earlier icon is not put on a new button";
  button->setFrame({{3, 4}, {30, 22}});
  button->setHidden(true);
  takeLines();
  manager->setMainIcon(image(64, 32));
  before[0] = "DEBUG 设置主图标，原始图标: <Image 64x32 pixels>";
  before[1] = "DEBUG 原始图标尺寸: 64.0x32.0";
  before[5] = "DEBUG statusItem: <StatusItem>";
  before[6] = "DEBUG statusItem.button: <StatusBarButton>";
  auto expected = before;
  expected.insert(expected.end(),
                  {"DEBUG 已重置按钮尺寸为: 22.0x22.0", "INFO 使用直接图像模式设置图标", "DEBUG 按钮尺寸: 22.0x22.0"});
  EXPECT_EQ(takeLines(), expected);
  EXPECT_EQ(button->frame(), (Rect{{3, 4}, {22, 22}}));
  EXPECT_EQ(button->image(), manager->mainIcon);
  EXPECT_TRUE(!button->isHidden() && !button->isBordered() && !button->isTransparent());
  EXPECT_EQ(button->imagePosition(), ImagePosition::imageOnly);

  manager->setMainIcon(image(64, 32));
  expected.erase(expected.begin() + 7);
  EXPECT_EQ(takeLines(), expected) << "no reset line for a button of the right size";
  EXPECT_EQ(desktop.prepared, 3);
  desktop.mainQueue().runAll();
  EXPECT_EQ(desktop.presentations, 1) << "many settings, one presentation";
}

}  // namespace
}  // namespace quill::testing
