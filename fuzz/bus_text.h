#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quill::fuzz {

/// A line as words, parted by blanks. Past the last one all are empty.
class Words {
 public:
  explicit Words(std::string_view line) : rest_(line) {}
  std::string_view next();
  std::int64_t nextNumber();
  /// What is behind the words taken so far.
  std::string_view rest() const { return rest_; }

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
/// is `[-]<to whom> <member> <values>`, with a minus where no answer is wanted; a signal is `<whose> <member>
/// <values>`; what our own calls are answered with is `reply <serial> <values>` or `error <serial> <name> <values>`.
/// Values are a tuple in GVariant's text format; there are none where the text is anything else. Empty for what no bus
/// passes on.
std::optional<Message> messageOf(std::string_view line, std::uint32_t serial);

}  // namespace quill::fuzz
