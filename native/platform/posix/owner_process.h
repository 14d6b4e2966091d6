#pragma once

#include <unistd.h>

namespace quill::posix {

/// Remembers the process that made it. A forked child gets a copy of everything its parent owns,
/// but must leave alone what lies outside of the memory, and locks that another thread may have held.
class OwnerProcess {
 public:
  /// Whether this is still the process that made it, and no forked child.
  bool isCurrent() const { return getpid() == id_; }

 private:
  pid_t id_ = getpid();
};

}  // namespace quill::posix
