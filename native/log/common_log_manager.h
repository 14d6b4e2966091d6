#pragma once

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "environment.h"

namespace quill {

/// Writes each message to the console at once, and to the log file on a serial queue, so that no caller blocks on the
/// disk. Any thread.
class CommonLogManager : public std::enable_shared_from_this<CommonLogManager> {
 public:
  /// Made on first use and never destroyed. Touches no file before the first message.
  static const std::shared_ptr<CommonLogManager>& shared();
  /// Makes a manager for another environment, which must outlive the manager and the jobs on its queue.
  static std::shared_ptr<CommonLogManager> make(Environment& environment);

  CommonLogManager(const CommonLogManager&) = delete;
  CommonLogManager& operator=(const CommonLogManager&) = delete;
  virtual ~CommonLogManager() = default;

 protected:
  explicit CommonLogManager(Environment& environment);

 private:
  /// Makes the log file's directory and returns the file's path. Empty on failure. Called for each line, on the queue.
  virtual std::optional<std::filesystem::path> getLogFileURL();

 public:
  /// Writes "[yyyy-MM-dd HH:mm:ss.SSS][level][module] message" to the file, and the part from "[module]" on to the
  /// console. Accepts any text and changes none. Reports no failure to the caller. While too many lines wait for the
  /// file, a line is on the console only.
  virtual void log(std::string_view message, std::string_view level = "INFO", std::string_view module = "Native");

 private:
  void append(const std::string& line, std::string home);
  void reportFailure(std::string_view what, const std::error_code& error);

  Environment& environment_;
  const std::shared_ptr<SerialQueue> logQueue_;
  std::atomic<std::size_t> waitingBytes_ = 0;
  std::string home_;  // HOME when the current line was logged; on the queue
};

}  // namespace quill
