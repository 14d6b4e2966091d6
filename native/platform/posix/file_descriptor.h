#pragma once

#include <sys/types.h>
#include <unistd.h>

namespace quill::posix {

/// Owns an open file; what opening returned, also its failure, goes in as it is. It does not stay at the number of a
/// standard stream, which the host may have closed but still writes to.
class FileDescriptor {
 public:
  explicit FileDescriptor(int number) : number_(number >= 0 && number <= STDERR_FILENO ? movedUp(number) : number) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (isOpen()) close(number_);
  }

  bool isOpen() const { return number_ >= 0; }
  int number() const { return number_; }

 private:
  static int movedUp(int number);

  int number_;
};

/// openat(2), so that what writeToStandardOutput writes meanwhile does not get into the file. Any thread.
FileDescriptor openFile(int directory, const char* path, int flags, mode_t mode);

}  // namespace quill::posix
