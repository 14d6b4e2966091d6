#include "posix_environment.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "process_queue.h"

namespace quill::posix {

namespace {

std::optional<std::filesystem::path> directoryOfUser(uid_t user) {
  constexpr std::size_t kMaxBytes = std::size_t{1} << 20;
  passwd entry{};
  passwd* found = nullptr;
  std::vector<char> texts(1024);
  while (getpwuid_r(user, &entry, texts.data(), texts.size(), &found) == ERANGE && texts.size() < kMaxBytes) {
    texts.resize(texts.size() * 2);
  }
  if (found == nullptr || found->pw_dir == nullptr || *found->pw_dir == '\0') return std::nullopt;
  return found->pw_dir;
}

}  // namespace

std::chrono::local_time<std::chrono::milliseconds> Environment::now() {
  const auto utc = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  const auto offset = utcOffset_(std::chrono::floor<std::chrono::seconds>(utc));
  return std::chrono::local_time<std::chrono::milliseconds>(utc.time_since_epoch() + offset);
}

std::string Environment::homeVariable() {
  const char* home = std::getenv("HOME");
  return home == nullptr ? std::string() : home;
}

std::shared_ptr<SerialQueue> Environment::makeSerialQueue(std::string label) {
  return std::make_shared<ProcessQueue>(std::move(label), Priority::utility);
}

std::optional<std::filesystem::path> Environment::userDirectory(const std::string& home) {
  const std::filesystem::path named(home);
  return named.is_absolute() ? named : directoryOfUser(getuid());
}

std::error_code Environment::createDirectories(const std::filesystem::path& directory) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  return error;
}

bool Environment::fileExists(const std::filesystem::path& file) {
  std::error_code unknown;
  return std::filesystem::exists(file, unknown);
}

}  // namespace quill::posix
