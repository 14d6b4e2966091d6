// From a host's JSON text to what a panel reads of its menu.
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>

#include "made_up_text.h"
#include "memory_desktop.h"
#include "memory_environment.h"
#include "menu_items_json.h"
#include "menu_layout.h"
#include "require.h"
#include "tray_manager.h"

namespace quill::fuzz {
namespace {

using Records = std::vector<TrayManager::MenuItemData>;

class Manager : public TrayManager {
 public:
  using TrayManager::make;

 protected:
  using TrayManager::TrayManager;
};

/// What was read, written out and read again, is the same.
void requireRoundTrip(const Records& records) {
  auto written = nlohmann::json::array();
  for (const auto& record : records) {
    written.push_back({{"id", record.id},
                       {"title", record.title},
                       {"enabled", record.enabled},
                       {"keyEquivalent", record.keyEquivalent}});
  }
  const auto again = readMenuItems(written.dump());
  require(again.has_value());
  const auto isSame = [](const auto& a, const auto& b) {
    return std::tie(a.id, a.title, a.enabled, a.keyEquivalent) == std::tie(b.id, b.title, b.enabled, b.keyEquivalent);
  };
  require(std::equal(records.begin(), records.end(), again->begin(), again->end(), isSame));
}

void requireSendable(const freedesktop::MenuEntry& entry, const freedesktop::Panel& panel) {
  for (unsigned number = 0; number < freedesktop::kEntryProperties; ++number) {
    const auto value = entry.value(freedesktop::EntryProperty{number}, panel);
    if (!value) continue;
    if (const auto* text = std::get_if<std::string>(&*value)) require(isSendable(*text));
    if (const auto* keys = std::get_if<freedesktop::KeyNames>(&*value)) {
      for (const auto& key : *keys) require(isSendable(key));
    }
  }
}

void readMenu(const std::string& text) {
  const auto records = readMenuItems(utf8Text(text.c_str()));
  if (!records) return;
  requireRoundTrip(*records);

  memory::Desktop desktop;
  const auto manager = Manager::make<Manager>(desktop);
  manager->createTray();
  manager->setMenuItems(*records);
  const auto menu = desktop.statusItem()->announcedMenu();
  freedesktop::MenuHistory history;
  history.setMenu(menu.get());
  const auto& entries = history.current().entries();
  require(entries.size() == records->size() + 1);
  for (const auto& panel :
       {freedesktop::kUnknownPanel, freedesktop::Panel{.underscores = freedesktop::Underscores::first}}) {
    for (const auto& entry : entries) requireSendable(entry, panel);
  }
  for (const auto& line : memory::Environment::current().logged()) require(isWellFormed(line));
  memory::Environment::current().clear();
}

}  // namespace
}  // namespace quill::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quill::fuzz::readMenu({reinterpret_cast<const char*>(data), size});
  return 0;
}
