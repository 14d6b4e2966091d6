#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quill {

/// Numbers in a file; 0 for those beyond its end.
class ByteReader {
 public:
  explicit ByteReader(std::span<const std::uint8_t> bytes, bool isBigEndian = false)
      : bytes_(bytes), isBigEndian_(isBigEndian) {}

  std::uint32_t u8(std::size_t at) const { return number(at, 1); }
  std::uint32_t u16(std::size_t at) const { return number(at, 2); }
  std::uint32_t u32(std::size_t at) const { return number(at, 4); }
  std::int64_t i32(std::size_t at) const { return static_cast<std::int32_t>(u32(at)); }

  /// Whether the file has all of these bytes.
  bool has(std::size_t at, std::size_t count) const { return at <= bytes_.size() && count <= bytes_.size() - at; }

 private:
  std::uint32_t number(std::size_t at, std::size_t count) const {
    std::uint32_t value = 0;
    if (!has(at, count)) return value;
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | bytes_[at + (isBigEndian_ ? i : count - 1 - i)];
    return value;
  }

  std::span<const std::uint8_t> bytes_;
  bool isBigEndian_;
};

}  // namespace quill
