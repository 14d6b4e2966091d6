#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <vector>

#include "environment.h"

namespace quill::memory {

/// An environment without a console, a disk, a clock or a thread: it records, and runs what is queued
/// when told to. Logging is open to any thread; the rest belongs to the test's own.
class Environment : public quill::Environment {
 public:
  /// The one that quill::Environment::current() answers with.
  static Environment& current();

  // What a machine can refuse.
  bool hasUserDirectory = true;
  std::error_code directoryError;  ///< of making a directory that is missing
  std::error_code fileError;       ///< of making a file that is missing, or of opening one that is there

  // What the process does.
  bool isEnding = false;  ///< its queues are waited for

  // The disk: a test may take away from it, or put in its way.
  std::map<std::filesystem::path, std::string> files;
  std::set<std::filesystem::path> directories;
  int flushes = 0;  ///< of any file

  void setNow(std::chrono::local_time<std::chrono::milliseconds> now);
  /// The lines written to the console so far, without their line feeds.
  std::vector<std::string> console();
  /// Does what is queued and tells the lines of all files in the order they came, each as
  /// "LEVEL message", without time and module.
  std::vector<std::string> logged();
  /// Forgets lines, files and directories; what is queued is done before.
  void clear();

  /// Does the next job of the queues, on the calling thread; false: there was none.
  bool runOne();
  void runAll();

  /// Labels of the queues made, in order.
  std::vector<std::string> queueLabels;

  std::chrono::local_time<std::chrono::milliseconds> now() override;
  void writeConsole(std::string_view line) override;
  std::string homeVariable() override { return "/home/user"; }
  std::shared_ptr<SerialQueue> makeSerialQueue(std::string label) override;
  std::optional<std::filesystem::path> userDirectory(const std::string& home) override;
  std::error_code createDirectories(const std::filesystem::path& directory) override;
  bool fileExists(const std::filesystem::path& file) override;
  std::error_code append(const std::filesystem::path& file, std::string_view bytes, Missing missing,
                         Flush flush) override;

 private:
  class Queue;

  std::mutex mutex_;  // guards the four below
  std::chrono::local_time<std::chrono::milliseconds> now_{};
  std::vector<std::string> console_;
  std::deque<std::function<void()>> jobs_;
  std::vector<std::string> appended_;
};

}  // namespace quill::memory
