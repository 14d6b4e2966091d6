#pragma once

#include <functional>

#include "environment.h"

namespace quill::posix {

/// The environment of a POSIX process; its user supplies the time zone. Other processes may append to the log file: a
/// short write is cut off again without cutting off their lines.
class Environment : public quill::Environment {
 public:
  /// Seconds east of UTC at an instant. Any thread.
  using UtcOffset = std::function<std::chrono::seconds(std::chrono::sys_seconds)>;

  explicit Environment(UtcOffset utcOffset) : utcOffset_(std::move(utcOffset)) {}

  std::chrono::local_time<std::chrono::milliseconds> now() override;
  /// Writes to C's standard output, behind the host's own output. Keeps errno and raises no signal.
  void writeConsole(std::string_view line) override;
  std::string homeVariable() override;
  std::shared_ptr<SerialQueue> makeSerialQueue(std::string label) override;
  std::optional<std::filesystem::path> userDirectory(const std::string& home) override;
  std::error_code createDirectories(const std::filesystem::path& directory) override;
  bool fileExists(const std::filesystem::path& file) override;
  std::error_code append(const std::filesystem::path& file, std::string_view bytes, Missing missing,
                         Flush flush) override;

 private:
  /// Keeps other processes from appending; false where that cannot be had.
  bool lock(int file);

  const UtcOffset utcOffset_;
  bool isLockStuck_ = false;  // another process held it for too long
};

}  // namespace quill::posix
