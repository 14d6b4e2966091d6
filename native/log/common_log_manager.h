#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "environment.h"

namespace quill {

/// The process's one diagnostic channel: each message goes to the console at once and to the log
/// file afterwards, on a serial queue, so that no caller waits for the disk. Any thread.
class CommonLogManager : public std::enable_shared_from_this<CommonLogManager> {
 public:
  /// Made on first use and never destroyed. It touches no file until something is logged.
  static const std::shared_ptr<CommonLogManager>& shared();
  /// One that works in another environment, which must outlive it and the jobs on its queue.
  static std::shared_ptr<CommonLogManager> make(Environment& environment);

  CommonLogManager(const CommonLogManager&) = delete;
  CommonLogManager& operator=(const CommonLogManager&) = delete;
  virtual ~CommonLogManager() = default;

 protected:
  explicit CommonLogManager(Environment& environment);

 private:
  /// Where the log file lies below the user's directory, worked out anew for each line, with the
  /// directory made; empty where it cannot be. On the queue.
  virtual std::optional<std::filesystem::path> getLogFileURL();

 public:
  /// Any texts, also empty ones or ones with line feeds. Nothing that fails reaches the caller.
  virtual void log(std::string_view message, std::string_view level = "INFO", std::string_view module = "Native");

 private:
  void append(const std::string& line, std::string home);
  void reportFailure(std::string_view what, const std::error_code& error);

  Environment& environment_;
  const std::shared_ptr<SerialQueue> logQueue_;
  std::string home_;  // as the environment named it when the line at hand was logged; on the queue
};

}  // namespace quill
