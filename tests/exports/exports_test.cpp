#include <thread>

#include "bodies.h"
#include "manager_fixture.h"
#include "menu_items_json.h"
#include "url.h"
#include "utf8_text.h"

namespace quill::testing {
namespace {

std::optional<std::string> read(std::string_view json) {
  const auto items = readMenuItems(json);
  if (!items) return std::nullopt;
  std::string text;
  for (const auto& item : *items) {
    text += item.id + "|" + item.title + "|" + (item.enabled ? "on" : "off") + "|" + item.keyEquivalent + "\n";
  }
  return text;
}

TEST(MenuItemsJson, KeepsWhatHasAnIdAndATitle) {
  const std::pair<std::string, std::string> cases[] = {
      {"[]", ""},
      {" [ ] ", ""},
      {R"([{"id":"a","title":"A"}])", "a|A|on|\n"},
      {R"([{"id":"","title":""},{"id":"","title":""}])", "||on|\n||on|\n"},
      {R"([{"id":"a","title":"A","enabled":false,"keyEquivalent":"Cmd+K"}])", "a|A|off|Cmd+K\n"},
      {R"([{"id":"a"},{"title":"B"},{"id":1,"title":"C"},{"id":"d","title":null},{"id":"e","title":"E"}])",
       "e|E|on|\n"},
      {R"([{"id":"a","title":"A","enabled":null,"keyEquivalent":null}])", "a|A|on|\n"},
      {R"([{"id":"a","title":"A","enabled":"false","keyEquivalent":5}])", "a|A|on|\n"},
      {R"([{"id":"a","title":"A","enabled":{"x":false},"keyEquivalent":["K"]}])", "a|A|on|\n"},
      {R"([{"id":"a","title":"A","enabled":0},{"id":"b","title":"B","enabled":1}])", "a|A|off|\nb|B|on|\n"},
      {R"([{"id":"a","title":"A","enabled":0.0},{"id":"b","title":"B","enabled":2}])", "a|A|off|\nb|B|on|\n"},
      {R"([{"id":"x","id":"a","title":"A","title":"B","enabled":false,"enabled":7}])", "a|B|on|\n"},
      {R"([{"id":"x","id":{},"title":"A"}])", ""},
      {R"([{"other":{"id":"x","title":[{"id":"y"}]},"id":"a","title":"A","more":[1,[2]]}])", "a|A|on|\n"},
      {R"([{"id":"a","title":"A","n":123456789012345678901234567890,"m":-0,"e":1e999}])", "a|A|on|\n"},
      {R"([{"id":"\u00e9\ud83d\ude00","title":"\u4e2d"}])", "é😀|中|on|\n"},
      {"[{\"id\":\"\x7F\",\"title\":\"A\"}]", "\x7F|A|on|\n"},
  };
  for (const auto& [json, expected] : cases) EXPECT_EQ(read(json), expected) << json;
  EXPECT_EQ(readMenuItems(R"([{"id":"a\u0000b","title":"\u0000"}])")->front().id, std::string("a\0b", 3));
}

TEST(MenuItemsJson, RefusesEverythingElse) {
  std::string deep = R"([{"id":"a","title":"A","x":)";
  deep.append(100000, '[').append(100000, ']').append("}]");
  const std::string cases[] = {
      "",
      " ",
      "{}",
      "null",
      "true",
      "5",
      "\"a\"",
      "[5]",
      "[{},null]",
      "[[]]",
      "[\"a\"]",
      "[{}",
      "[{}]]",
      "[{}] x",
      "[{},]",
      "[{\"id\":\"a\",}]",
      "[/*c*/]",
      "[{\"a\":01}]",
      "[{\"a\":NaN}]",
      "[{\"a\":Infinity}]",
      "[{'id':'a'}]",
      "[{id:1}]",
      "[{\"id\":\"a\nb\"}]",
      R"([{"id":"\ud800","title":"A"}])",
      R"([{"id":"\udc00","title":"A"}])",
      R"([{"id":"\x","title":"A"}])",
      "[{\"a\":\"\xC3\x28\"}]",
      deep,
  };
  for (const auto& json : cases) EXPECT_EQ(read(json), std::nullopt) << json.substr(0, 60);
  std::string within = R"([{"id":"a","title":"A","x":)";
  within.append(510, '[').append(510, ']').append("}]");
  EXPECT_EQ(read(within), "a|A|on|\n");
}

TEST(Utf8Text, ReplacesWhatIsIllFormed) {
  const std::pair<const char*, std::string> cases[] = {
      {"", ""},
      {"中a", "中a"},
      {"a\x80z", "a\uFFFDz"},
      {"\xE4\xB8", "\uFFFD"},
      {"\xF0\x9F\x98z", "\uFFFDz"},
      {"\xED\xA0\x80|", "\uFFFD\uFFFD\uFFFD|"},
      {"\xC0\xAF", "\uFFFD\uFFFD"},
      {"\xF0\x9F\x98\x80\xFF", "😀\uFFFD"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(utf8Text(text), expected);
}

TEST(ParseUrl, KeepsWhatIsLegalAndEscapesTheRest) {
  const std::pair<const char*, const char*> cases[] = {
      {"https://example.org/a%20b;c?x=$(id)&y='1'&z=~!*,#f@[1]",
       "https://example.org/a%20b;c?x=$(id)&y='1'&z=~!*,#f@[1]"},
      {"http://[::1]:80/", "http://[::1]:80/"},
      {"relative/path", "relative/path"},
      {"http://x/a b\"<>\\^`{|}", "http://x/a%20b%22%3C%3E%5C%5E%60%7B%7C%7D"},
      {"http://x/中\n\x7F", "http://x/%E4%B8%AD%0A%7F"},
      {"http://x/%zz%4", "http://x/%25zz%254"},
  };
  for (const auto& [text, expected] : cases) {
    const auto url = parseUrl(text);
    ASSERT_TRUE(url) << text;
    EXPECT_EQ(url->text, expected);
  }
  for (const auto* text : {"", "http://[::1", "http://x:99999/", "http://x:port/"})
    EXPECT_FALSE(parseUrl(text)) << text;
}

class ExportsTest : public ::testing::Test {
 protected:
  ExportsTest() { takeLines(); }
  memory::Desktop& desktop() { return memory::Desktop::current(); }
};

// A PNG of one black pixel.
constexpr std::uint8_t kPng[] = {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x48,
                                 0x44, 0x52, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x08, 0x00, 0x00, 0x00,
                                 0x00, 0x3A, 0x7E, 0x9B, 0x55, 0x00, 0x00, 0x00, 0x0A, 0x49, 0x44, 0x41, 0x54, 0x78,
                                 0x9C, 0x63, 0x60, 0x00, 0x00, 0x00, 0x02, 0x00, 0x01, 0x48, 0xAF, 0xA4, 0x71, 0x00,
                                 0x00, 0x00, 0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82};

TEST_F(ExportsTest, RejectedArgumentsDoNotMakeAManager) {
  const bool wasMade = memory::Desktop::isMade();
  quillTrayManagerSetMenuItemsJson(nullptr);
  quillTrayManagerSetMenuItemsJson("");
  quillTrayManagerSetMenuItemsJson("{}");
  const std::string parseFailure = "ERROR 设置菜单项数据失败：JSON 解析失败";
  EXPECT_THAT(takeLines(), ElementsAre("ERROR 设置菜单项数据失败：JSON 数据为空", parseFailure, parseFailure));
  const std::uint8_t noImage[] = {1, 2, 3};
  for (const auto set : {quillTrayManagerSetMainIcon, quillTrayManagerAddAnimationFrame}) {
    set(nullptr, 5);
    set(nullptr, 0);
    set(kPng, 0);
    set(kPng, -1);
    set(noImage, sizeof noImage);
  }
  EXPECT_THAT(takeLines(), IsEmpty());
  EXPECT_EQ(memory::Desktop::isMade(), wasMade);
  quillTrayManagerSetClickCallback(nullptr);
  EXPECT_TRUE(memory::Desktop::isMade());
}

TEST_F(ExportsTest, ATypicalRun) {
  quillTrayManagerSetMenuItemsJson(R"([{"id":"1","title":"一"},{"id":"2","title":"二"},{}])");
  EXPECT_THAT(takeLines(), ElementsAre("INFO 已设置菜单项数据，数量: 2"));
  quillTrayManagerSetClickCallback(Host::click);
  quillTrayManagerSetMenuItemCallback(Host::choose);
  quillTrayManagerCreate();
  quillTrayManagerSetMainIcon(kPng, sizeof kPng);
  quillTrayManagerAddAnimationFrame(kPng, sizeof kPng);
  quillTrayManagerStartAnimation();
  desktop().mainQueue().advance(std::chrono::milliseconds(35));
  EXPECT_EQ(desktop().shown.size(), 2U);
  desktop().click();
  EXPECT_EQ(Host::clicks, 1);
  takeLines();
  quillTrayManagerSetMenuItemsJson(R"([{"id":"3","title":"三","keyEquivalent":"Alt+3"}])");
  EXPECT_THAT(takeLines(), ElementsAre("DEBUG 已设置快捷键：Alt+3 -> keyEquivalent: 3, modifiers: "
                                       "NSEventModifierFlags(rawValue: 524288)",
                                       "INFO 菜单已更新，菜单项数量: 1", "INFO 已设置菜单项数据，数量: 1"));
  quillTrayManagerSetMenuItemsJson("[");
  EXPECT_TRUE(desktop().choose("三")) << "a rejected text leaves the menu as it was";
  EXPECT_THAT(Host::chosen, ElementsAre("3"));
}

TEST_F(ExportsTest, OpensUrlsWithoutATrayManager) {
  const bool wasMade = memory::Desktop::isMade();
  quillTrayManagerOpenUrl(nullptr);
  quillTrayManagerOpenUrl("");
  quillTrayManagerOpenUrl("http://[::1");
  EXPECT_THAT(takeLines(),
              ElementsAre("ERROR 打开 URL 失败：URL 字符串为空", "ERROR 打开 URL 失败：无效的 URL 字符串: ",
                          "ERROR 打开 URL 失败：无效的 URL 字符串: http://[::1"));
  EXPECT_EQ(memory::Desktop::isMade(), wasMade);
  std::thread([] { quillTrayManagerOpenUrl("x:a \xFF"); }).join();
  EXPECT_THAT(desktop().urlsOpened, ElementsAre("x:a%20%EF%BF%BD"));
  EXPECT_THAT(takeLines(), ElementsAre("INFO 已打开 URL: x:a \uFFFD")) << "the text as the host gave it";
}

TEST_F(ExportsTest, TakesAHostMenuAndIgnoresWhatIsNone) {
  auto hostMenu = std::make_shared<Menu>();
  hostMenu->addItem(MenuItem::make("own", {}, ""));
  const int address = 0;
  desktop().hostMenus[&address] = hostMenu;
  quillTrayManagerCreate();
  takeLines();
  quillTrayManagerSetMenuPtr(&address);
  EXPECT_THAT(takeLines(), ElementsAre("INFO 菜单已设置，菜单项数量: 1"));
  const int other = 0;
  quillTrayManagerSetMenuPtr(nullptr);
  quillTrayManagerSetMenuPtr(&other);
  EXPECT_THAT(takeLines(), IsEmpty());
  EXPECT_EQ(desktop().statusItem()->announcedMenu(), hostMenu);
}

}  // namespace
}  // namespace quill::testing
