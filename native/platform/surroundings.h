#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "serial_queue.h"

namespace quill {

/// What the log needs of the machine: a clock, the console, files, a queue.
class Surroundings {
 public:
  /// Those of this process, made on first use and never destroyed. Defined by the one desktop that
  /// is linked in. Any thread.
  static Surroundings& current();
  /// Held while these, and what stands on them for the whole process, are made. A fork waits for
  /// it: a child must not find them half made, with nobody there to finish.
  static inline std::mutex creation;

  Surroundings() = default;
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;
  virtual ~Surroundings() = default;

  /// The wall clock in the time zone that was the process's when the surroundings were made. Any thread.
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
  /// Opens, moves to the end, writes all bytes, flushes to permanent storage, closes. The error is
  /// that of opening; a write that failed leaves the file as it was and counts as done.
  virtual std::error_code append(const std::filesystem::path& file, std::string_view bytes, Missing missing) = 0;
};

}  // namespace quill
