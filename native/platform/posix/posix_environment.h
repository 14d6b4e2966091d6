#pragma once

#include <functional>

#include "append.h"
#include "environment.h"

namespace quill::posix {

/// What every POSIX system offers; only the time zone has to come from somewhere else.
class Environment final : public quill::Environment {
 public:
  /// Seconds east of UTC at an instant. Any thread.
  using UtcOffset = std::function<std::chrono::seconds(std::chrono::sys_seconds)>;

  explicit Environment(UtcOffset utcOffset) : utcOffset_(std::move(utcOffset)) {}

  std::chrono::local_time<std::chrono::milliseconds> now() override;
  void writeConsole(std::string_view line) override;
  std::string homeVariable() override;
  std::shared_ptr<SerialQueue> makeSerialQueue(std::string label) override;
  std::optional<std::filesystem::path> userDirectory(const std::string& home) override;
  std::error_code createDirectories(const std::filesystem::path& directory) override;
  bool fileExists(const std::filesystem::path& file) override;
  std::error_code append(const std::filesystem::path& file, std::string_view bytes, Missing missing,
                         Flush flush) override;

 private:
  const UtcOffset utcOffset_;
  Appender appender_;
};

}  // namespace quill::posix
