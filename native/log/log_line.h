#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace quill {

/// A message in its two written forms. Changes none of the texts.
class LogLine {
 public:
  LogLine(std::chrono::local_time<std::chrono::milliseconds> time, std::string_view level, std::string_view module,
          std::string_view message);

  /// "[yyyy-MM-dd HH:mm:ss.SSS][level][module] message" and a line feed.
  const std::string& forFile() const& { return text_; }
  std::string forFile() && { return std::move(text_); }
  /// "[module] message" and a line feed; valid as long as this line.
  std::string_view forConsole() const { return std::string_view(text_).substr(consoleStart_); }

 private:
  std::string text_;
  std::size_t consoleStart_;  // the console line is the tail of the file line
};

}  // namespace quill
