#pragma once

#include <unistd.h>

namespace quill::posix {

/// Remembers the process that made it. A forked child has copies of its parent's objects, but must not touch
/// what they own outside of memory, nor locks that another thread may have held.
class OwnerProcess {
 public:
  /// False in a forked child.
  bool isCurrent() const { return getpid() == id_; }

 private:
  pid_t id_ = getpid();
};

}  // namespace quill::posix
