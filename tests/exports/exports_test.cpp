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

TEST(MenuItemsJson, ArrayOfObjectsGivesTheItemsWithIdAndTitle) {
  for (const auto& [json, expected] : casesIn(CASES "menu_items.txt")) EXPECT_EQ(read(json), expected) << json;
  for (const auto& [depth, expected] : {std::pair(510U, "a|A|on|;"), {511U, "refused"}, {100'000U, "refused"}})
    EXPECT_EQ(read(R"([{"id":"a","title":"A","x":)" + times(depth, "[") + times(depth, "]") + "}]"), expected) << depth;
}

TEST(ParseUrl, TextIsPercentEncodedOrRefused) {
  for (const auto& [text, expected] : casesIn(CASES "urls.txt"))
    EXPECT_EQ(parseUrl(text).value_or(Url{"refused"}).text, expected) << text;
}

// tests/support/typical_run.txt has the lines of the texts that are rejected.
TEST(Exports, RejectedArgumentMakesNoManager) {
  const std::pair<const std::uint8_t*, std::intptr_t> noImages[] = {
      {nullptr, 5}, {kOnePixelGif, 0}, {kOnePixelGif, -1}, {kOnePixelGif, 3}};
  for (const auto& [bytes, length] : noImages) {
    quill_tray_manager_set_main_icon(bytes, length);
    quill_tray_manager_add_animation_frame(bytes, length);
  }
  EXPECT_THAT(takeLines(), IsEmpty());
  for (const char* text : {static_cast<const char*>(nullptr), "", "http://[::1"}) {
    quill_tray_manager_set_menu_items_json(text);
    quill_tray_manager_open_url(text);
  }
  EXPECT_FALSE(memory::Desktop::isMade());
  quill_tray_manager_set_click_callback(nullptr);
  EXPECT_TRUE(memory::Desktop::isMade());
}

TEST(Exports, IllFormedUtf8BecomesReplacementCharacters) {
  quill_tray_manager_set_menu_item_callback(tellChoice);
  quill_tray_manager_create();
  quill_tray_manager_set_menu_items_json("[{\"id\":\"3\",\"title\":\"三\xED\xA0\x80\xFF\"},{}]");
  quill_tray_manager_set_menu_items_json("[");
  EXPECT_TRUE(memory::Desktop::current().choose("三\uFFFD\uFFFD\uFFFD\uFFFD"))
      << "a rejected text leaves the menu as it was";
  EXPECT_THAT(told, ElementsAre("3"));
  quill_tray_manager_open_url("http://x/\xFF");
  EXPECT_THAT(memory::Desktop::current().urlsOpened, ElementsAre("http://x/%EF%BF%BD"));
}

}  // namespace quill::tests
