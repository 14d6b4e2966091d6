#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "serial_queue.h"

namespace quill {

/// What the log needs of the machine: a clock, the console, files, a queue.
class Environment {
 public:
  /// That of this process, made on first use and never destroyed. Defined by the one desktop that
  /// is linked in. Any thread.
  static Environment& current();

  Environment() = default;
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  virtual ~Environment() = default;

  /// The wall clock in the time zone that was the process's when the environment was made. Any thread.
  virtual std::chrono::local_time<std::chrono::milliseconds> now() = 0;
  /// Writes a line that ends in a line feed, whole, before it returns; a failure is silent. Any thread.
  virtual void writeConsole(std::string_view line) = 0;
  /// The user's home directory as the environment names it now; empty where it names none. Read on
  /// the thread that logs: any other would read the environment while the host may change it.
  virtual std::string homeVariable() = 0;
  /// The queue on which the log's file work runs.
  virtual std::shared_ptr<SerialQueue> makeSerialQueue(std::string label) = 0;

  // The rest runs on that queue.

  /// The directory that holds the user's files: `home`, or without one what the user database says;
  /// empty where the machine names none.
  virtual std::optional<std::filesystem::path> userDirectory(const std::string& home) = 0;
  /// Makes every missing directory on the path; one that is there is success.
  virtual std::error_code createDirectories(const std::filesystem::path& directory) = 0;
  virtual bool fileExists(const std::filesystem::path& file) = 0;

  enum class Missing { fail, create };
  enum class Flush { now, later };
  /// Opens, moves to the end, writes all bytes, flushes to permanent storage, closes. The error is
  /// that of opening; a write that failed leaves the file as it was and counts as done. `later`:
  /// the next line will flush this one, too.
  virtual std::error_code append(const std::filesystem::path& file, std::string_view bytes, Missing missing,
                                 Flush flush) = 0;
};

}  // namespace quill
