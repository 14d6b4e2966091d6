#include "memory_environment.h"

#include <utility>

#include "no_destructor.h"

namespace quill {

Environment& Environment::current() { return memory::Environment::current(); }

namespace memory {

class Environment::Queue : public SerialQueue {
 public:
  explicit Queue(Environment& environment) : environment_(environment) {}

  void submit(std::function<void()> job) override {
    const std::lock_guard lock(environment_.mutex_);
    environment_.jobs_.push_back(std::move(job));
  }
  bool isDraining() const override { return false; }

 private:
  Environment& environment_;
};

Environment& Environment::current() {
  static NoDestructor<Environment> environment;
  return environment.get();
}

void Environment::setNow(std::chrono::local_time<std::chrono::milliseconds> now) {
  const std::lock_guard lock(mutex_);
  now_ = now;
}

std::vector<std::string> Environment::console() {
  const std::lock_guard lock(mutex_);
  return console_;
}

std::vector<std::string> Environment::logged() {
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

void Environment::clear() {
  runAll();
  files.clear();
  directories.clear();
  const std::lock_guard lock(mutex_);
  console_.clear();
  appended_.clear();
}

void Environment::runAll() {
  std::unique_lock lock(mutex_);
  while (!jobs_.empty()) {
    const auto job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    job();
    lock.lock();
  }
}

std::chrono::local_time<std::chrono::milliseconds> Environment::now() {
  const std::lock_guard lock(mutex_);
  return now_;
}

void Environment::writeConsole(std::string_view line) {
  const std::lock_guard lock(mutex_);
  console_.emplace_back(line.substr(0, line.size() - 1));
}

std::shared_ptr<SerialQueue> Environment::makeSerialQueue(std::string label) {
  queueLabels.push_back(std::move(label));
  return std::make_shared<Queue>(*this);
}

std::optional<std::filesystem::path> Environment::userDirectory(const std::string& home) {
  if (!hasUserDirectory) return std::nullopt;
  return home;
}

std::error_code Environment::createDirectories(const std::filesystem::path& directory) {
  directories.insert(directory);
  return {};
}

bool Environment::fileExists(const std::filesystem::path& file) { return files.contains(file); }

std::error_code Environment::append(const std::filesystem::path& file, std::string_view bytes, Missing missing,
                                    Flush /*flush*/) {
  const bool mayCreate = missing == Missing::create && directories.contains(file.parent_path());
  if (!files.contains(file) && !mayCreate) return std::make_error_code(std::errc::no_such_file_or_directory);
  files[file] += bytes;
  const std::lock_guard lock(mutex_);
  appended_.emplace_back(bytes);
  return {};
}

}  // namespace memory
}  // namespace quill
