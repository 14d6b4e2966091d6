#pragma once

#include <unistd.h>

namespace quill::posix {

/// Owns an open file; what opening returned, also its failure, goes in as it is.
class FileDescriptor {
 public:
  explicit FileDescriptor(int number) : number_(number) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (isOpen()) close(number_);
  }

  bool isOpen() const { return number_ >= 0; }
  int number() const { return number_; }

 private:
  int number_;
};

}  // namespace quill::posix
