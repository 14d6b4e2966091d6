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
  /// Any thread; does not wait for the job.
  virtual void submit(std::function<void()> job) = 0;
  /// Asked from a job: whether somebody waits for jobs behind this one, as when the process ends. The last
  /// of them may then do what all of them need, such as a flush.
  virtual bool isDraining() const = 0;
};

/// What the log needs of the machine: a clock, the console, files, a queue.
class Environment {
 public:
  /// The process's environment, made on first use and never destroyed. Defined by the one desktop that
  /// is linked in. Any thread.
  static Environment& current();

  Environment() = default;
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  virtual ~Environment() = default;

  /// Local time in the time zone that the process had when the environment was made. Any thread.
  virtual std::chrono::local_time<std::chrono::milliseconds> now() = 0;
  /// Writes `line`, line feed included, before it returns. A failure is silent. Any thread.
  virtual void writeConsole(std::string_view line) = 0;
  /// The variable HOME; empty if unset. To be called on the thread that logs, since the host may change
  /// its variables while another thread reads them.
  virtual std::string homeVariable() = 0;
  /// The queue on which the log's file work runs.
  virtual std::shared_ptr<SerialQueue> makeSerialQueue(std::string label) = 0;

  // The rest runs on that queue.

  /// The user's home directory: `home` if that is an absolute path, else what the user database says; empty if it
  /// says nothing.
  virtual std::optional<std::filesystem::path> userDirectory(const std::string& home) = 0;
  /// Makes every missing directory on the path.
  virtual std::error_code createDirectories(const std::filesystem::path& directory) = 0;
  virtual bool fileExists(const std::filesystem::path& file) = 0;

  enum class Missing { fail, create };
  enum class Flush { now, later };
  /// Opens the file, appends, flushes to permanent storage (unless `later`: a following call will) and
  /// closes. The error is that of opening; a failed write is silent and leaves the file as it was.
  virtual std::error_code append(const std::filesystem::path& file, std::string_view bytes, Missing missing,
                                 Flush flush) = 0;
};

}  // namespace quill
