#pragma once

#include <sys/types.h>
#include <unistd.h>

namespace quill::posix {

/// Owns a descriptor, or -1. Moves it above the standard streams' numbers, because a host that has closed one may still
/// write to its number.
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

/// openat(2), with other threads' console lines kept out of the file while it has standard output's number. Any thread.
FileDescriptor openFile(int directory, const char* path, int flags, mode_t mode);

}  // namespace quill::posix
