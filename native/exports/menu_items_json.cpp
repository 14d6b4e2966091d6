#include "menu_items_json.h"

#include <nlohmann/json.hpp>
#include <string>

namespace quill {

namespace {

constexpr int kMaximumDepth = 512;  // of nested arrays and objects

// long double: a number that no double can hold must not spoil a text that ignores it.
using Json = nlohmann::basic_json<std::map, std::vector, std::string, bool, std::int64_t, std::uint64_t, long double>;

/// Reads the records while the text is parsed, without building a tree.
class Reader final : public Json::json_sax_t {
 public:
  std::vector<TrayManager::MenuItemData> records;

  bool null() override { return scalar(Value{}); }
  bool boolean(bool value) override { return scalar(Value{.boolean = value}); }
  bool number_integer(std::int64_t value) override { return number(static_cast<long double>(value)); }
  bool number_unsigned(std::uint64_t value) override { return number(static_cast<long double>(value)); }
  bool number_float(long double value, const std::string& /*text*/) override { return number(value); }
  bool string(std::string& value) override { return scalar(Value{.text = std::move(value)}); }
  bool binary(Json::binary_t& /*value*/) override { return false; }

  bool start_object(std::size_t /*size*/) override {
    if (depth_ == 0 || ++depth_ > kMaximumDepth) return false;
    if (depth_ == 2) {
      fields_ = {};
    } else if (depth_ == 3) {
      assign({});
    }
    return true;
  }
  bool end_object() override {
    if (depth_-- == 2 && fields_.id.text && fields_.title.text) {
      records.push_back({std::move(*fields_.id.text), std::move(*fields_.title.text),
                         fields_.enabled.boolean.value_or(true),
                         std::move(fields_.keyEquivalent.text).value_or(std::string())});
    }
    return true;
  }
  bool start_array(std::size_t /*size*/) override {
    if (depth_ == 1 || ++depth_ > kMaximumDepth) return false;
    if (depth_ == 3) assign({});
    return true;
  }
  bool end_array() override {
    --depth_;
    return true;
  }
  bool key(std::string& name) override {
    if (depth_ != 2) return true;
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
  /// A value as far as it can matter; neither set: null, a number or something nested.
  struct Value {
    std::optional<std::string> text{};
    std::optional<bool> boolean{};
  };
  struct Fields {
    Value id, title, enabled, keyEquivalent;
  };

  bool number(long double value) {
    // A number counts as a boolean where it is exactly one.
    if (value == 0.0L || value == 1.0L) return scalar(Value{.boolean = value == 1.0L});
    return scalar(Value{});
  }
  bool scalar(Value value) {
    if (depth_ < 2) return false;  // the top level is an array, and its elements are objects
    if (depth_ == 2) assign(std::move(value));
    return true;
  }
  /// The last value counts where a key stands twice.
  void assign(Value value) {
    if (field_) *field_ = std::move(value);
  }

  int depth_ = 0;  // 1: in the list, 2: in an item, more: in something that is ignored
  Fields fields_;
  Value* field_ = nullptr;
};

}  // namespace

std::optional<std::vector<TrayManager::MenuItemData>> readMenuItems(std::string_view json) {
  Reader reader;
  if (!Json::sax_parse(json.begin(), json.end(), &reader)) return std::nullopt;
  return std::move(reader.records);
}

}  // namespace quill
