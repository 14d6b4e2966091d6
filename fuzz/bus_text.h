#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quill::fuzz {

/// A line as words, parted by blanks; "" is an empty one. Past the last one all are empty.
class Words {
 public:
  explicit Words(std::string_view line) : rest_(line) {}
  std::string_view next();
  std::int64_t nextNumber();

 private:
  std::string_view rest_;
};

/// The name that the bus gives the item's connection.
constexpr std::string_view kItemName = ":1.5";

struct Message {
  std::string bytes;
  bool wantsAnswer = false;
};

/// A message as the bus hands it on, from a line of text that begins with one of the words in bus_text.cpp: a call
/// is `[-]<to whom> <member> <signature> <values>`, with a minus where no answer is wanted; a signal is `<whose>
/// <member> …`; what our own calls are answered with is `reply <serial> <signature> …` or `error <serial> <name> …`.
/// Values are written as busctl takes them: an array begins with its length, a variant with its signature. Any
/// line that begins so makes a message; values that are missing are 0 or empty.
std::optional<Message> messageOf(std::string_view line, std::uint32_t serial);

}  // namespace quill::fuzz
