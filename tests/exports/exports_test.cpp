#include "manager_fixture.h"
#include "menu_items_json.h"
#include "quill_tray_manager.h"
#include "url.h"

namespace quill::tests {

/// "refused", "none", or "id|title|on|shortcut;" for each item.
std::string read(std::string_view json) {
  const auto items = readMenuItems(json);
  if (!items) return "refused";
  std::string text;
  for (const auto& [id, title, enabled, key] : *items)
    text += id + "|" + title + (enabled ? "|on|" : "|off|") + key + ";";
  return text.empty() ? "none" : text;
}

TEST(MenuItemsJson, KeepsWhatHasAnIdAndATitleAndRefusesWhatIsNoArrayOfObjects) {
  for (const auto& [json, expected] : casesIn(CASES "menu_items.txt")) EXPECT_EQ(read(json), expected) << json;
  EXPECT_EQ(read("[{\"a\":\"\xC3\x28\"}]") + read(""), "refusedrefused");
  EXPECT_EQ(readMenuItems(R"([{"id":"a\u0000b","title":"\u0000"}])")->front().id, std::string("a\0b", 3));
  for (const auto& [depth, expected] : {std::pair(510U, "a|A|on|;"), {511U, "refused"}, {100'000U, "refused"}})
    EXPECT_EQ(read(R"([{"id":"a","title":"A","x":)" + times(depth, "[") + times(depth, "]") + "}]"), expected) << depth;
}

TEST(ParseUrl, KeepsWhatIsLegalAndEscapesTheRest) {
  for (const auto& [text, expected] : casesIn(CASES "urls.txt"))
    EXPECT_EQ(parseUrl(text).value_or(Url{"refused"}).text, expected) << text;
  EXPECT_EQ(parseUrl("http://x/中\n\x7F").value().text, "http://x/%E4%B8%AD%0A%7F");
  EXPECT_FALSE(parseUrl(""));
}

TEST(Exports, RejectedArgumentsDoNotMakeAManager) {
  for (const char* json : {static_cast<const char*>(nullptr), "", "{}"}) quill_tray_manager_set_menu_items_json(json);
  for (const char* url : {static_cast<const char*>(nullptr), "http://[::1"}) quill_tray_manager_open_url(url);
  const std::string parseFailure = "ERROR 设置菜单项数据失败：JSON 解析失败";
  const std::uint8_t noImage[] = {1, 2, 3};
  for (const auto set : {quill_tray_manager_set_main_icon, quill_tray_manager_add_animation_frame})
    set(nullptr, 5), set(kOnePixelGif, 0), set(kOnePixelGif, -1), set(noImage, sizeof noImage);
  EXPECT_THAT(takeLines(), ElementsAre("ERROR 设置菜单项数据失败：JSON 数据为空", parseFailure, parseFailure,
                                       "ERROR 打开 URL 失败：URL 字符串为空",
                                       "ERROR 打开 URL 失败：无效的 URL 字符串: http://[::1"));
  EXPECT_FALSE(memory::Desktop::isMade());
  quill_tray_manager_set_click_callback(nullptr);
  EXPECT_TRUE(memory::Desktop::isMade());
}

TEST(Exports, IllFormedUtf8BecomesReplacementCharacters) {
  quill_tray_manager_set_menu_item_callback(tellChoice);
  quill_tray_manager_create();
  takeLines();
  quill_tray_manager_set_menu_items_json(R"([{"id":"3","title":"三)"
                                         "\xFF\"},{}]");
  quill_tray_manager_set_menu_items_json("[");
  EXPECT_TRUE(memory::Desktop::current().choose("三\uFFFD")) << "a rejected text leaves the menu as it was";
  quill_tray_manager_open_url("http://x/\xFF");
  EXPECT_THAT(memory::Desktop::current().urlsOpened, ElementsAre("http://x/%EF%BF%BD"));
  EXPECT_THAT(told, ElementsAre("3"));
  EXPECT_THAT(takeLines(), ElementsAre("INFO 菜单已更新，菜单项数量: 1", "INFO 已设置菜单项数据，数量: 1",
                                       "ERROR 设置菜单项数据失败：JSON 解析失败", "INFO 已打开 URL: http://x/\uFFFD"));
}

}  // namespace quill::tests
