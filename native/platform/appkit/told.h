#pragma once

#include <optional>

namespace quill::appkit {

/// What the platform was told of one setting, so that it is told of changes only.
template <typename Value>
class Told {
 public:
  /// Whether `now` is news; it is taken for told.
  bool isNews(const Value& now) {
    if (value_ == now) return false;
    value_ = now;
    return true;
  }

 private:
  std::optional<Value> value_;
};

}  // namespace quill::appkit
