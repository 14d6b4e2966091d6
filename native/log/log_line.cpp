#include "log_line.h"

namespace quill {

namespace {

constexpr std::size_t kTimestampLength = 23;

void appendNumber(std::string& text, unsigned value, std::size_t digits) {
  const auto end = text.size() + digits;
  text.resize(end);
  for (auto at = end; at > end - digits; value /= 10) text[--at] = static_cast<char>('0' + value % 10);
}

void appendTimestamp(std::string& text, std::chrono::local_time<std::chrono::milliseconds> time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  appendNumber(text, static_cast<unsigned>(static_cast<int>(date.year())), 4);
  text += '-';
  appendNumber(text, static_cast<unsigned>(date.month()), 2);
  text += '-';
  appendNumber(text, static_cast<unsigned>(date.day()), 2);
  text += ' ';
  appendNumber(text, static_cast<unsigned>(clock.hours().count()), 2);
  text += ':';
  appendNumber(text, static_cast<unsigned>(clock.minutes().count()), 2);
  text += ':';
  appendNumber(text, static_cast<unsigned>(clock.seconds().count()), 2);
  text += '.';
  appendNumber(text, static_cast<unsigned>(clock.subseconds().count()), 3);
}

}  // namespace

LogLine::LogLine(std::chrono::local_time<std::chrono::milliseconds> time, std::string_view level,
                 std::string_view module, std::string_view message)
    : consoleStart_(1 + kTimestampLength + 2 + level.size() + 1) {
  constexpr std::size_t kPunctuation = 8;  // "[" "][" "][" "] " and the line feed
  text_.reserve(kPunctuation + kTimestampLength + level.size() + module.size() + message.size());
  text_ += '[';
  appendTimestamp(text_, time);
  text_.append("][").append(level).append("][").append(module).append("] ").append(message) += '\n';
}

}  // namespace quill
