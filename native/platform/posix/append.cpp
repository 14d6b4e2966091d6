#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "file_descriptor.h"
#include "posix_environment.h"
#include "write_without_signals.h"

namespace quill::posix {

namespace {

using Clock = std::chrono::steady_clock;

constexpr mode_t kReadableAndWritable = 0666;  // as far as the host's umask lets it
// Another process holds the lock for one write only, unless it is stopped in between.
constexpr std::chrono::seconds kLockTimeout{1};
constexpr std::chrono::microseconds kFileLockRetry{100};

// Removes the last `count` bytes, unless a process without the lock has written behind them.
void cutOff(int file, off_t count) {
  const auto end = lseek(file, 0, SEEK_CUR);
  struct stat now {};
  if (end < count || fstat(file, &now) != 0 || now.st_size != end) return;
  [[maybe_unused]] const int ignored = ftruncate(file, end - count);
}

// Whether a killed host left a part of a line at the end of the file at `path`, of which `file` is a descriptor. Linux
// ends the write of a killed process between two pages of the file. A text without a last line feed that ends elsewhere
// is not the library's.
bool endsInAKilledWrite(int file, const std::filesystem::path& path) {
  const auto end = lseek(file, 0, SEEK_END);
  if (end <= 0 || end % getpagesize() != 0) return false;
  const auto reader = openFile(AT_FDCWD, path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0);
  char last = '\n';
  return pread(reader.number(), &last, 1, end - 1) == 1 && last != '\n';
}

}  // namespace

bool Environment::lock(int file) {
  const auto deadline = Clock::now() + kLockTimeout;
  while (flock(file, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK) return false;  // a file system without locks
    if (isLockStuck_ || Clock::now() >= deadline) {
      isLockStuck_ = true;
      return false;
    }
    std::this_thread::sleep_for(kFileLockRetry);
  }
  isLockStuck_ = false;
  return true;
}

std::error_code Environment::append(const std::filesystem::path& file, std::string_view bytes, Missing missing,
                                    Flush flush) {
  const int create = missing == Missing::create ? O_CREAT : 0;
  const auto opened = openFile(AT_FDCWD, file.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | create,
                               kReadableAndWritable);
  if (!opened.isOpen()) return {errno, std::generic_category()};

  const bool isLocked = lock(opened.number());  // until a write that fell short is cut off
  if (isLocked && endsInAKilledWrite(opened.number(), file)) writeWithoutSignals(opened.number(), "\n");
  const auto written = writeWithoutSignals(opened.number(), bytes);
  if (written > 0 && static_cast<std::size_t>(written) < bytes.size()) cutOff(opened.number(), written);
  if (isLocked) flock(opened.number(), LOCK_UN);  // closing would not: a forked child may have a copy
  if (flush == Flush::now) fsync(opened.number());
  return {};
}

}  // namespace quill::posix
