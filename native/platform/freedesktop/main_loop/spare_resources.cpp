#include "spare_resources.h"

#include <sys/eventfd.h>

#include <system_error>
#include <thread>

#include "file_descriptor.h"

namespace quill::freedesktop {

bool hasSpareDescriptors() {
  const posix::FileDescriptor first(eventfd(0, EFD_CLOEXEC));
  const posix::FileDescriptor second(eventfd(0, EFD_CLOEXEC));
  return first.isOpen() && second.isOpen();
}

bool hasSpareThread() {
  try {
    std::thread([] {}).join();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace quill::freedesktop
