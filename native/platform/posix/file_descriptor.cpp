#include "file_descriptor.h"

#include <fcntl.h>

#include <cerrno>
#include <optional>

#include "standard_output_lock.h"

namespace quill::posix {

int FileDescriptor::movedUp(int number) {
  const int moved = fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int error = errno;
  close(number);
  errno = error;
  return moved;
}

FileDescriptor openFile(int directory, const char* path, int flags, mode_t mode) {
  std::optional<StandardOutputLock> lock;
  if (fcntl(STDOUT_FILENO, F_GETFD) < 0) lock.emplace();  // closed: the file may get its number for a moment
  return FileDescriptor(openat(directory, path, flags, mode));
}

}  // namespace quill::posix
