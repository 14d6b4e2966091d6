#include "bus_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace quill::fuzz {
namespace {

/// Arrays of more are cut: they would only cost time.
constexpr std::size_t kMaxBytes = 64 * 1024;
constexpr int kMaxDepth = 64;

enum MessageType : char { kCall = 1, kReply = 2, kError = 3, kSignal = 4 };

struct Kind {
  std::string_view word;
  MessageType type;
  std::string_view path;
  std::string_view interface;
  std::string_view sender = ":1.7";
};
constexpr std::array kKinds{
    Kind{"item", kCall, "/StatusNotifierItem", "org.kde.StatusNotifierItem"},
    Kind{"menu", kCall, "/MenuBar", "com.canonical.dbusmenu"},
    Kind{"item-properties", kCall, "/StatusNotifierItem", "org.freedesktop.DBus.Properties"},
    Kind{"menu-properties", kCall, "/MenuBar", "org.freedesktop.DBus.Properties"},
    Kind{"introspect", kCall, "/MenuBar", "org.freedesktop.DBus.Introspectable"},
    Kind{"no-interface", kCall, "/StatusNotifierItem", ""},
    Kind{"nowhere", kCall, "/", "com.canonical.dbusmenu"},
    Kind{"bus", kSignal, "/org/freedesktop/DBus", "org.freedesktop.DBus", "org.freedesktop.DBus"},
    Kind{"reply", kReply, "", "", "org.freedesktop.DBus"},
    Kind{"error", kError, "", "", "org.freedesktop.DBus"},
};

/// Bytes in the wire format, little end first.
class Writer {
 public:
  std::string bytes;

  template <typename Number>
  void number(Number value) {
    align(sizeof value);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void align(std::size_t to) { bytes.resize((bytes.size() + to - 1) / to * to); }
  void text(std::string_view value) {
    number(static_cast<std::uint32_t>(value.size()));
    bytes.append(value).push_back('\0');
  }
  void signature(std::string_view value) {
    value = value.substr(0, 255);
    bytes.push_back(static_cast<char>(value.size()));
    bytes.append(value).push_back('\0');
  }
  /// An array's length, once its elements are there; they begin at `start`.
  void setLength(std::size_t lengthAt, std::size_t start) {
    const auto length = static_cast<std::uint32_t>(bytes.size() - start);
    std::memcpy(&bytes[lengthAt], &length, sizeof length);
  }
};

std::size_t alignmentOf(char type) {
  if (std::strchr("xtd({", type) != nullptr) return 8;
  if (std::strchr("buiahso", type) != nullptr) return 4;
  return type == 'n' || type == 'q' ? 2 : 1;
}

/// Where the complete type at `at` ends, as far as it is one.
std::size_t endOfType(std::string_view signature, std::size_t at) {
  int open = 0;
  for (; at < signature.size(); ++at) {
    const char type = signature[at];
    if (type == '(' || type == '{') ++open;
    if (type == ')' || type == '}') --open;
    if (type != 'a' && open <= 0) return at + 1;
  }
  return at;
}

void writeAll(Writer& to, std::string_view signature, Words& words, int depth);

void writeArray(Writer& to, std::string_view element, Words& words, int depth) {
  const auto count = words.nextNumber();
  to.number(std::uint32_t{0});
  const auto lengthAt = to.bytes.size() - sizeof(std::uint32_t);
  to.align(alignmentOf(element.empty() ? 'y' : element.front()));
  const auto start = to.bytes.size();
  auto before = to.bytes.size() - 1;  // elements without a byte would have no end
  for (std::int64_t i = 0; i < count && to.bytes.size() < kMaxBytes && to.bytes.size() > before; ++i) {
    before = to.bytes.size();
    writeAll(to, element, words, depth + 1);
  }
  to.setLength(lengthAt, start);
}

void write(Writer& to, std::string_view type, Words& words, int depth) {
  switch (type.front()) {
    case 'y':
      return to.number(static_cast<std::uint8_t>(words.nextNumber()));
    case 'n':
    case 'q':
      return to.number(static_cast<std::uint16_t>(words.nextNumber()));
    case 'b':
    case 'i':
    case 'u':
    case 'h':
      return to.number(static_cast<std::uint32_t>(words.nextNumber()));
    case 'x':
    case 't':
      return to.number(words.nextNumber());
    case 'd':
      return to.number(static_cast<double>(words.nextNumber()));
    case 's':
    case 'o':
      return to.text(words.next());
    case 'g':
      return to.signature(words.next());
    case 'a':
      return writeArray(to, type.substr(1), words, depth);
    case 'v': {
      const auto contents = words.next();
      to.signature(contents);
      return writeAll(to, contents.substr(0, endOfType(contents, 0)), words, depth + 1);
    }
    case '(':
    case '{':
      to.align(8);
      return writeAll(to, type.substr(1, std::max<std::size_t>(type.size(), 2) - 2), words, depth + 1);
    default:
      return;
  }
}

void writeAll(Writer& to, std::string_view signature, Words& words, int depth) {
  if (depth > kMaxDepth) return;
  for (std::size_t at = 0; at < signature.size() && to.bytes.size() < kMaxBytes;) {
    const auto end = endOfType(signature, at);
    write(to, signature.substr(at, end - at), words, depth);
    at = end;
  }
}

/// The fields of a header.
class Fields {
 public:
  explicit Fields(Writer& to) : to_(to), lengthAt_(to.bytes.size()) {
    to_.number(std::uint32_t{0});
    start_ = to_.bytes.size();
  }
  Fields(const Fields&) = delete;
  Fields& operator=(const Fields&) = delete;
  ~Fields() {
    to_.setLength(lengthAt_, start_);
    to_.align(8);
  }
  void add(char field, const char* type, std::string_view value) {
    if (value.empty()) return;
    begin(field, type);
    *type == 'g' ? to_.signature(value) : to_.text(value);
  }
  void add(char field, std::uint32_t value) {
    begin(field, "u");
    to_.number(value);
  }

 private:
  void begin(char field, const char* type) {
    to_.align(8);
    to_.bytes.push_back(field);
    to_.signature(type);
  }

  Writer& to_;
  std::size_t lengthAt_;
  std::size_t start_ = 0;
};

}  // namespace

std::string_view Words::next() {
  constexpr std::string_view kBlanks(" \0", 2);  // no text on a bus holds U+0000
  rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
  const auto word = rest_.substr(0, rest_.find_first_of(kBlanks));
  rest_.remove_prefix(word.size());
  return word == R"("")" ? std::string_view() : word;
}

std::int64_t Words::nextNumber() {
  const auto word = next();
  std::int64_t number = 0;
  std::from_chars(word.data(), word.data() + word.size(), number);
  return number;
}

std::optional<Message> messageOf(std::string_view line, std::uint32_t serial) {
  constexpr char kNoReplyExpected = 1;
  constexpr char kVersion = 1;
  const bool isQuiet = line.starts_with('-');
  Words words(isQuiet ? line.substr(1) : line);
  const auto word = words.next();
  const auto* const kind = std::ranges::find(kKinds, word, &Kind::word);
  if (kind == kKinds.end()) return std::nullopt;

  const bool isAnswer = kind->type == kReply || kind->type == kError;
  const auto answered = isAnswer ? static_cast<std::uint32_t>(words.nextNumber()) : 0;
  const auto name = kind->type == kReply ? std::string_view() : words.next();
  const auto signature = words.next();
  Writer body;
  writeAll(body, signature, words, 0);

  Writer message;
  message.bytes = {'l', kind->type, isQuiet ? kNoReplyExpected : '\0', kVersion};
  message.number(static_cast<std::uint32_t>(body.bytes.size()));
  message.number(serial);
  {
    Fields fields(message);
    fields.add(1, "o", kind->path);
    fields.add(2, "s", kind->interface);
    fields.add(kind->type == kError ? 4 : 3, "s", name);
    if (isAnswer) fields.add(5, answered);
    if (kind->type != kSignal) fields.add(6, "s", kItemName);
    fields.add(7, "s", kind->sender);
    fields.add(8, "g", signature);
  }
  return Message{message.bytes + body.bytes, kind->type == kCall && !isQuiet};
}

}  // namespace quill::fuzz
