#include "menu_items_json.h"

#include <nlohmann/json.hpp>
#include <string>

namespace quill {

namespace {

constexpr int kMaxDepth = 512;  // of nested arrays and objects

using Json = nlohmann::json;

/// Returns `json` without the digits that exceed double's range, because the parser would reject the whole text for one
/// such number, even in an ignored field. A run keeps at least one digit, so that valid text stays valid and invalid
/// text stays invalid.
std::string withShortNumbers(std::string_view json) {
  constexpr std::size_t kMaxDigits = 100, kMaxExponentDigits = 2;
  std::string shortened;
  shortened.reserve(json.size());
  bool isInString = false;
  std::size_t digits = 0, maxDigits = kMaxDigits;
  for (char before = '\0'; const char character : json) {
    const bool isEscaped = isInString && before == '\\';
    before = isEscaped ? '\0' : character;
    if (character == '"' && !isEscaped) isInString = !isInString;
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

/// Collects the records while the text is parsed. Each function returns false to refuse the text.
class Reader final : public Json::json_sax_t {
 public:
  std::vector<TrayManager::MenuItemData> records;

  bool null() override { return value({}); }
  bool boolean(bool flag) override { return value({.boolean = flag}); }
  bool number_integer(std::int64_t number) override { return number_float(static_cast<double>(number), {}); }
  bool number_unsigned(std::uint64_t number) override { return number_float(static_cast<double>(number), {}); }
  bool number_float(double number, const std::string& /*text*/) override {
    // 0 and 1 count as booleans.
    return value(number == 0.0 || number == 1.0 ? Value{.boolean = number == 1.0} : Value{});
  }
  bool string(std::string& text) override { return value({.text = std::move(text)}); }
  bool binary(Json::binary_t& /*value*/) override { return false; }

  bool start_object(std::size_t /*size*/) override {
    if (depth_ == kInList) fields_ = {};
    return depth_ > 0 && open();
  }
  bool end_object() override {
    if (--depth_ == kInList && fields_.id.text && fields_.title.text) {
      records.push_back({std::move(*fields_.id.text), std::move(*fields_.title.text),
                         fields_.enabled.boolean.value_or(true),
                         std::move(fields_.keyEquivalent.text).value_or(std::string())});
    }
    return true;
  }
  bool start_array(std::size_t /*size*/) override { return depth_ != kInList && open(); }
  bool end_array() override {
    --depth_;
    return true;
  }
  bool key(std::string& name) override {
    if (depth_ != kInItem) return true;
    field_ = name == "id"              ? &fields_.id
             : name == "title"         ? &fields_.title
             : name == "enabled"       ? &fields_.enabled
             : name == "keyEquivalent" ? &fields_.keyEquivalent
                                       : nullptr;
    return true;
  }
  bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& /*error*/) override {
    return false;
  }

 private:
  static constexpr int kInList = 1;
  static constexpr int kInItem = 2;

  /// A string or a boolean; neither for any other value.
  struct Value {
    std::optional<std::string> text{};
    std::optional<bool> boolean{};
  };
  struct Fields {
    Value id, title, enabled, keyEquivalent;
  };

  /// Of a key that is given twice, the last value counts.
  bool value(Value value) {
    if (depth_ == kInItem && field_) *field_ = std::move(value);
    return depth_ >= kInItem;
  }
  /// The beginning of an array or object.
  bool open() {
    if (depth_ == kInItem) value({});
    return ++depth_ <= kMaxDepth;
  }

  int depth_ = 0;
  Fields fields_;
  Value* field_ = nullptr;
};

}  // namespace

std::optional<std::vector<TrayManager::MenuItemData>> readMenuItems(std::string_view json) {
  Reader reader;
  if (!Json::sax_parse(withShortNumbers(json), &reader)) return std::nullopt;
  return std::move(reader.records);
}

}  // namespace quill
