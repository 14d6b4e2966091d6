#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <span>
#include <string>

namespace quill::freedesktop {

/// Fills a message. Keeps the first failure and ignores all further calls after it.
class MessageWriter {
 public:
  explicit MessageWriter(sd_bus_message* message) : message_(message) {}

  void append(bool value) { appendBasic('b', static_cast<int>(value)); }
  void append(std::int32_t value) { appendBasic('i', value); }
  void append(std::uint32_t value) { appendBasic('u', value); }
  /// Well-formed UTF-8 without U+0000.
  void append(const char* value) {
    if (result_ >= 0) result_ = sd_bus_message_append_basic(message_, 's', value);
  }
  void append(const std::string& value) { append(value.c_str()); }
  void appendPath(const char* value) {
    if (result_ >= 0) result_ = sd_bus_message_append_basic(message_, 'o', value);
  }
  void append(std::span<const std::int32_t> values) { appendArray('i', values.data(), values.size_bytes()); }
  void appendBytes(const void* bytes, std::size_t size) { appendArray('y', bytes, size); }

  /// A container of `type` ('a', 'r', 'v' or 'e') and the signature of what `fill` puts in it.
  template <typename Fill>
  void container(char type, const char* contents, Fill fill) {
    if (result_ >= 0) result_ = sd_bus_message_open_container(message_, type, contents);
    if (result_ < 0) return;
    fill();
    if (result_ >= 0) result_ = sd_bus_message_close_container(message_);
  }

  /// Negative: the error of the first failure.
  int result() const { return result_; }

 private:
  template <typename Value>
  void appendBasic(char type, Value value) {
    if (result_ >= 0) result_ = sd_bus_message_append_basic(message_, type, &value);
  }

  void appendArray(char type, const void* values, std::size_t bytes) {
    if (result_ >= 0) result_ = sd_bus_message_append_array(message_, type, values, bytes);
  }

  sd_bus_message* message_;
  int result_ = 0;
};

}  // namespace quill::freedesktop
