#include "memory_surroundings.h"

#include <utility>

#include "immortal.h"

namespace quill {

Surroundings& Surroundings::current() { return memory::Surroundings::current(); }

namespace memory {

class Surroundings::Queue : public SerialQueue {
 public:
  explicit Queue(Surroundings& surroundings) : surroundings_(surroundings) {}

  void submit(std::function<void()> job) override {
    const std::lock_guard lock(surroundings_.mutex_);
    surroundings_.jobs_.push_back(std::move(job));
  }

 private:
  Surroundings& surroundings_;
};

Surroundings& Surroundings::current() {
  static const Immortal<std::unique_ptr<Surroundings>> surroundings([] { return std::make_unique<Surroundings>(); });
  return *surroundings.get();
}

void Surroundings::setNow(std::chrono::local_time<std::chrono::milliseconds> now) {
  const std::lock_guard lock(mutex_);
  now_ = now;
}

std::vector<std::string> Surroundings::console() {
  const std::lock_guard lock(mutex_);
  return console_;
}

std::vector<std::string> Surroundings::logged() {
  runAll();
  std::vector<std::string> lines;
  const std::lock_guard lock(mutex_);
  for (const auto& line : appended_) {  // "[time][LEVEL][module] message\n"
    const auto level = line.find("][") + 2;
    const auto module = line.find("][", level);
    const auto message = line.find("] ", module + 2) + 2;
    lines.push_back(line.substr(level, module - level) + " " + line.substr(message, line.size() - message - 1));
  }
  return lines;
}

void Surroundings::clear() {
  runAll();
  files.clear();
  directories.clear();
  const std::lock_guard lock(mutex_);
  console_.clear();
  appended_.clear();
}

bool Surroundings::runOne() {
  std::function<void()> job;
  {
    const std::lock_guard lock(mutex_);
    if (jobs_.empty()) return false;
    job = std::move(jobs_.front());
    jobs_.pop_front();
  }
  job();
  return true;
}

void Surroundings::runAll() {
  while (runOne()) {
  }
}

std::chrono::local_time<std::chrono::milliseconds> Surroundings::now() {
  const std::lock_guard lock(mutex_);
  return now_;
}

void Surroundings::writeConsole(std::string_view line) {
  const std::lock_guard lock(mutex_);
  console_.emplace_back(line.substr(0, line.size() - 1));
}

std::shared_ptr<SerialQueue> Surroundings::makeSerialQueue(std::string label) {
  queueLabels.push_back(std::move(label));
  return std::make_shared<Queue>(*this);
}

std::optional<std::filesystem::path> Surroundings::userDirectory(const std::string& home) {
  if (!hasUserDirectory) return std::nullopt;
  return home;
}

std::error_code Surroundings::createDirectories(const std::filesystem::path& directory) {
  if (directories.contains(directory)) return {};
  if (directoryError) return directoryError;
  std::filesystem::path made;
  for (const auto& component : directory) {
    made /= component;
    if (files.contains(made)) return std::make_error_code(std::errc::not_a_directory);
    directories.insert(made);
  }
  return {};
}

bool Surroundings::fileExists(const std::filesystem::path& file) {
  return files.contains(file) || directories.contains(file);
}

std::error_code Surroundings::append(const std::filesystem::path& file, std::string_view bytes, Missing missing) {
  if (fileError) return fileError;
  if (directories.contains(file)) return std::make_error_code(std::errc::is_a_directory);
  const bool mayCreate = missing == Missing::create && directories.contains(file.parent_path());
  if (!files.contains(file) && !mayCreate) return std::make_error_code(std::errc::no_such_file_or_directory);
  files[file] += bytes;
  const std::lock_guard lock(mutex_);
  appended_.emplace_back(bytes);
  return {};
}

}  // namespace memory
}  // namespace quill
