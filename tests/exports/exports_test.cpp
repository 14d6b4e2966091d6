#include "bodies.h"
#include "manager_fixture.h"
#include "menu_items_json.h"
#include "url.h"
#include "utf8_text.h"

namespace quill {
namespace {

/// "refused", or one "id|title|on|shortcut;" for each item.
std::string read(std::string_view json) {
  const auto items = readMenuItems(json);
  if (!items) return "refused";
  std::string text;
  for (const auto& [id, title, enabled, key] : *items)
    text += id + "|" + title + (enabled ? "|on|" : "|off|") + key + ";";
  return text;
}

TEST(MenuItemsJson, KeepsWhatHasAnIdAndATitle) {
  const std::pair<std::string, std::string> cases[] = {
      {" [ ] ", ""},
      {R"([{"id":"","title":""},{"id":"","title":""}])", "||on|;||on|;"},
      {R"([{"id":"a","title":"A","enabled":false,"keyEquivalent":"Cmd+K"}])", "a|A|off|Cmd+K;"},
      {R"([{"id":"a"},{"title":"B"},{"id":1,"title":"C"},{"id":"d","title":null},{"id":"e","title":"E"}])", "e|E|on|;"},
      {R"([{"id":"a","title":"","enabled":"false","keyEquivalent":5},{"id":"b","title":"","enabled":null}])",
       "a||on|;b||on|;"},
      {R"([{"id":"a","title":"A","enabled":{"x":false},"keyEquivalent":["K"]}])", "a|A|on|;"},
      {R"([{"id":"a","title":"","enabled":0},{"id":"b","title":"","enabled":0.0},{"id":"c","title":"","enabled":2}])",
       "a||off|;b||off|;c||on|;"},
      {R"([{"id":"x","id":"a","title":"A","title":"B","enabled":false,"enabled":7}])", "a|B|on|;"},
      {R"([{"id":"x","id":{},"title":"A"},{"id":"x","id":[],"title":"A"}])", ""},
      {R"([{"other":{"id":"x","title":[{"id":"y"}]},"id":"a","title":"A","more":[1,[2]]}])", "a|A|on|;"},
      {R"([{"id":"a","title":"A","n":123456789012345678901234567890,"m":-0,"e":1e999}])", "a|A|on|;"},
      {R"([{"id":"\u00e9\ud83d\ude00","title":"\u4e2d"}])", "é😀|中|on|;"},
  };
  for (const auto& [json, expected] : cases) EXPECT_EQ(read(json), expected) << json;
  EXPECT_EQ(readMenuItems(R"([{"id":"a\u0000b","title":"\u0000"}])")->front().id, std::string("a\0b", 3));
}

TEST(MenuItemsJson, RefusesEverythingElse) {
  for (const char* json : {"", "null", "5", "{}", "[5]", "[{},null]", "[[]]", "[{}] x", "[{},]", "[/*c*/]",
                           "[{\"a\":NaN}]", R"([{"id":"\ud800"}])", "[{\"a\":\"\xC3\x28\"}]"}) {
    EXPECT_EQ(read(json), "refused") << json;
  }
  for (const auto& [depth, expected] : {std::pair(510, "a|A|on|;"), {511, "refused"}, {100000, "refused"}}) {
    const auto count = static_cast<std::size_t>(depth);
    const auto nested = std::string(count, '[') + std::string(count, ']');
    EXPECT_EQ(read(R"([{"id":"a","title":"A","x":)" + nested + "}]"), expected) << depth;
  }
}

TEST(Utf8Text, ReplacesWhatIsIllFormed) {
  const std::pair<const char*, std::string> cases[] = {
      {"中\x80z", "中\uFFFDz"},
      {"\xE4\xB8", "\uFFFD"},
      {"\xED\xA0\x80|", "\uFFFD\uFFFD\uFFFD|"},
      {"\xC0\xAF", "\uFFFD\uFFFD"},
      {"\xF0\x9F\x98\x80\xFF", "😀\uFFFD"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(utf8Text(text), expected);
}

TEST(ParseUrl, KeepsWhatIsLegalAndEscapesTheRest) {
  const std::pair<const char*, const char*> cases[] = {
      {"http://[::1]:80/", "http://[::1]:80/"},
      {"http://x/a b\"<>\\^`{|}", "http://x/a%20b%22%3C%3E%5C%5E%60%7B%7C%7D"},
      {"http://x/中\n\x7F", "http://x/%E4%B8%AD%0A%7F"},
      {"http://x/%zz%4", "http://x/%25zz%254"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(parseUrl(text).value_or(Url{"refused"}).text, expected);
  for (const auto* text : {"", "http://[::1", "http://x:99999/", "http://x:port/"})
    EXPECT_FALSE(parseUrl(text)) << text;
}

/// A GIF of one pixel.
constexpr std::uint8_t kImage[] = "GIF89a\1\0\1\0\x80\0\0\xff\0\0\0\0\xff,\0\0\0\0\1\0\1\0\0\2\2D\1\0;";

TEST(Exports, RejectedArgumentsDoNotMakeAManager) {
  for (const char* json : {static_cast<const char*>(nullptr), "", "{}"}) quillTrayManagerSetMenuItemsJson(json);
  for (const char* url : {static_cast<const char*>(nullptr), "http://[::1"}) quillTrayManagerOpenUrl(url);
  const std::string parseFailure = "ERROR 设置菜单项数据失败：JSON 解析失败";
  const std::uint8_t noImage[] = {1, 2, 3};
  for (const auto set : {quillTrayManagerSetMainIcon, quillTrayManagerAddAnimationFrame}) {
    set(nullptr, 5);
    set(kImage, 0);
    set(kImage, -1);
    set(noImage, sizeof noImage);
  }
  EXPECT_THAT(takeLines(), ElementsAre("ERROR 设置菜单项数据失败：JSON 数据为空", parseFailure, parseFailure,
                                       "ERROR 打开 URL 失败：URL 字符串为空",
                                       "ERROR 打开 URL 失败：无效的 URL 字符串: http://[::1"));
  EXPECT_FALSE(memory::Desktop::isMade());
  quillTrayManagerSetClickCallback(nullptr);
  EXPECT_TRUE(memory::Desktop::isMade());
}

TEST(Exports, ATypicalRun) {
  quillTrayManagerSetClickCallback(tellClick);
  quillTrayManagerSetMenuItemCallback(tellChoice);
  quillTrayManagerCreate();
  quillTrayManagerSetMainIcon(kImage, sizeof kImage);
  auto& desktop = memory::Desktop::current();
  desktop.mainQueue().runAll();
  EXPECT_EQ(desktop.shown.size(), 1U);
  desktop.click();
  takeLines();
  quillTrayManagerSetMenuItemsJson(R"([{"id":"3","title":"三)"
                                   "\xFF\",\"keyEquivalent\":\"Alt+3\"},{}]");
  quillTrayManagerSetMenuItemsJson("[");
  EXPECT_TRUE(desktop.choose("三\uFFFD")) << "a rejected text leaves the menu as it was";
  quillTrayManagerOpenUrl("http://x/\xFF");
  quillTrayManagerSetMenuPtr(nullptr);
  EXPECT_THAT(desktop.urlsOpened, ElementsAre("http://x/%EF%BF%BD"));
  EXPECT_THAT(told, ElementsAre("click", "3"));
  EXPECT_THAT(takeLines(), ElementsAre("DEBUG 已设置快捷键：Alt+3 -> keyEquivalent: 3, modifiers: "
                                       "NSEventModifierFlags(rawValue: 524288)",
                                       "INFO 菜单已更新，菜单项数量: 1", "INFO 已设置菜单项数据，数量: 1",
                                       "ERROR 设置菜单项数据失败：JSON 解析失败", "INFO 已打开 URL: http://x/\uFFFD"));
}

}  // namespace
}  // namespace quill
