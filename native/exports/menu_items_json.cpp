#include "menu_items_json.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace quill {

namespace {

constexpr int kMaxDepth = 512;  // of nested arrays and objects

using Json = nlohmann::json;

/// Returns `json` without the digits that exceed double's range, because the parser would reject the whole text for one
/// such number, even in an ignored field. A run keeps at least one digit, so that valid text stays valid and invalid
/// text stays invalid. Returns empty for more than kMaxDepth levels of nesting.
std::optional<std::string> withShortNumbers(std::string_view json) {
  constexpr std::size_t kMaxDigits = 100, kMaxExponentDigits = 2;
  std::string shortened;
  shortened.reserve(json.size());
  bool isInString = false;
  int depth = 0;
  std::size_t digits = 0, maxDigits = kMaxDigits;
  for (char before = '\0'; const char character : json) {
    const bool isEscaped = isInString && before == '\\';
    before = isEscaped ? '\0' : character;
    if (character == '"' && !isEscaped) isInString = !isInString;
    if (!isInString && (character == '[' || character == '{') && ++depth > kMaxDepth) return std::nullopt;
    if (!isInString && (character == ']' || character == '}')) --depth;
    if (!isInString && character >= '0' && character <= '9') {
      if (++digits > maxDigits) continue;
    } else {
      const bool isSign = character == '+' || character == '-';
      if (digits > 0 || !isSign) maxDigits = character == 'e' || character == 'E' ? kMaxExponentDigits : kMaxDigits;
      digits = 0;
    }
    shortened += character;
  }
  return shortened;
}

/// Null if the object has no string of that name.
const std::string* textIn(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() ? found->get_ptr<const Json::string_t*>() : nullptr;
}

/// Only false and 0 disable an item.
bool isEnabled(const Json& object) {
  const auto found = object.find("enabled");
  return found == object.end() || (*found != false && *found != 0);
}

}  // namespace

std::optional<std::vector<TrayManager::MenuItemData>> readMenuItems(std::string_view json) {
  const auto text = withShortNumbers(json);
  if (!text) return std::nullopt;
  const auto list = Json::parse(*text, nullptr, false);  // no array for invalid text
  const auto isObject = [](const Json& entry) { return entry.is_object(); };
  if (!list.is_array() || !std::all_of(list.begin(), list.end(), isObject)) return std::nullopt;
  std::vector<TrayManager::MenuItemData> records;
  for (const auto& object : list) {
    const auto* const id = textIn(object, "id");
    const auto* const title = textIn(object, "title");
    const auto* const keyEquivalent = textIn(object, "keyEquivalent");
    if (id == nullptr || title == nullptr) continue;
    records.push_back({*id, *title, isEnabled(object), keyEquivalent != nullptr ? *keyEquivalent : std::string()});
  }
  return records;
}

}  // namespace quill
