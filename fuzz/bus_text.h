#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quill::fuzz {

/// The name that the bus gives the item's connection.
constexpr std::string_view kItemName = ":1.5";

struct Message {
  std::string bytes;
  bool wantsAnswer = false;
};

/// A message as the bus passes it on, from a line of text that begins with one of the words in bus_text.cpp:
/// - a call is `[-]<to whom> <member> <values>`, with a minus if the caller wants no answer;
/// - a signal is `<whose> <member> <values>`;
/// - an answer to the item's own call is `reply <serial> <values>` or `error <serial> <name> <values>`.
/// Values are a tuple in GVariant's text format; there are none if the text is anything else. Empty for what no bus
/// passes on.
std::optional<Message> messageOf(const std::string& line, std::uint32_t serial);

}  // namespace quill::fuzz
