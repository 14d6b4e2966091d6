#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace quill {

/// Runs jobs one at a time, in the order of submission.
class SerialQueue {
 public:
  virtual ~SerialQueue() = default;
  /// Returns before the job has run. Any thread.
  virtual void submit(std::function<void()> job) = 0;
  /// True while a drain waits for jobs behind the current one, as at the process's end. A job may then leave work that
  /// serves all of them, such as a flush, to the last job. Call it from a job only.
  virtual bool isDraining() const = 0;
};

/// The log's view of the machine: a clock, the console, files, a queue.
class Environment {
 public:
  /// The process's Environment object, made on first use and never destroyed. The one backend that is linked in defines
  /// this function. Any thread.
  static Environment& current();

  Environment() = default;
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  virtual ~Environment() = default;

  /// Local time in the time zone that the process had when the environment was made. Any thread.
  virtual std::chrono::local_time<std::chrono::milliseconds> now() = 0;
  /// Writes `line`, which ends with a line feed, before it returns. Ignores a failure. Any thread.
  virtual void writeConsole(std::string_view line) = 0;
  /// The variable HOME; empty if unset. Call it on the thread that called the log function, because getenv() on another
  /// thread races with the host's setenv().
  virtual std::string homeVariable() = 0;
  /// The queue on which the log's file work runs.
  virtual std::shared_ptr<SerialQueue> makeSerialQueue(std::string label) = 0;

  // The functions below run on that queue.

  /// The user's home directory: `home` if that is an absolute path, otherwise the user database's entry. Empty if there
  /// is none.
  virtual std::optional<std::filesystem::path> userDirectory(const std::string& home) = 0;
  /// Makes every missing directory on the path.
  virtual std::error_code createDirectories(const std::filesystem::path& directory) = 0;
  virtual bool fileExists(const std::filesystem::path& file) = 0;

  enum class Missing { fail, create };
  enum class Flush { now, later };
  /// Opens the file, appends, flushes to permanent storage and closes. With `later` a following call flushes. Returns
  /// the error of opening. A failed write is silent and leaves the file as it was.
  virtual std::error_code append(const std::filesystem::path& file, std::string_view bytes, Missing missing,
                                 Flush flush) = 0;
};

}  // namespace quill
