#include "append.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "file_descriptor.h"
#include "quiet_write.h"

namespace quill::posix {

namespace {

constexpr mode_t kReadableAndWritable = 0666;  // the host's umask takes its part off

// Takes the last `count` bytes off again, unless somebody has written behind them.
void cutOff(int file, off_t count) {
  const auto end = lseek(file, 0, SEEK_CUR);
  struct stat now {};
  if (end < count || fstat(file, &now) != 0 || now.st_size != end) return;
  [[maybe_unused]] const int ignored = ftruncate(file, end - count);
}

}  // namespace

std::error_code appendToFile(const std::filesystem::path& file, std::string_view bytes, Surroundings::Missing missing) {
  const int create = missing == Surroundings::Missing::create ? O_CREAT : 0;
  const auto opened = openFile(AT_FDCWD, file.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | create,
                               kReadableAndWritable);
  if (!opened.isOpen()) return {errno, std::generic_category()};

  WriteSignalsHeld held;
  const auto written = write(opened.number(), bytes.data(), bytes.size());
  if (written < 0) {
    held.drop();
  } else if (static_cast<std::size_t>(written) < bytes.size()) {
    cutOff(opened.number(), written);
  }
  fsync(opened.number());
  return {};
}

}  // namespace quill::posix
