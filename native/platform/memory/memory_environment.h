#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <vector>

#include "environment.h"

namespace quill::memory {

/// An environment without console, disk, clock and threads, for tests. It records each write, and runs jobs when a test
/// calls runAll(). The log may use it from any thread; all other members belong to the test's thread.
class Environment : public quill::Environment {
 public:
  /// The object that quill::Environment::current() returns.
  static Environment& current();

  bool hasUserDirectory = true;

  // The disk.
  std::map<std::filesystem::path, std::string> files;
  std::set<std::filesystem::path> directories;

  void setNow(std::chrono::local_time<std::chrono::milliseconds> now);
  /// The console's lines, without their line feeds.
  std::vector<std::string> console();
  /// Runs all jobs; then the lines of all files in order, each as "LEVEL message", without time and module.
  std::vector<std::string> logged();
  /// Runs all jobs, then forgets lines, files and directories.
  void clear();
  /// Runs all jobs on the calling thread.
  void runAll();

  /// The labels of the queues made, in order.
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
