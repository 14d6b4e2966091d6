#include "log_line.h"

namespace quill {

namespace {

constexpr std::size_t kTimestampLength = 23;

void appendTimestamp(std::string& text, std::chrono::local_time<std::chrono::milliseconds> time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  char stamp[] = "0000-00-00 00:00:00.000";
  const auto put = [&stamp](std::size_t end, std::size_t digits, auto number) {
    auto value = static_cast<unsigned>(number);
    for (auto at = end; at > end - digits; value /= 10) stamp[--at] = static_cast<char>('0' + value % 10);
  };
  put(4, 4, static_cast<int>(date.year()));
  put(7, 2, static_cast<unsigned>(date.month()));
  put(10, 2, static_cast<unsigned>(date.day()));
  put(13, 2, clock.hours().count());
  put(16, 2, clock.minutes().count());
  put(19, 2, clock.seconds().count());
  put(23, 3, clock.subseconds().count());
  text.append(stamp, kTimestampLength);
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
