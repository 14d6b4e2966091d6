#include "forked_child.h"

#include <poll.h>
#include <unistd.h>

#include <atomic>

#include "errno_saver.h"
#include "write_without_signals.h"

namespace quill {

// Compares process ids rather than counting forks, because _Fork(3) and clone(2) call no handler.
bool isForkedChild() {
  static std::atomic<pid_t> owner{0};
  const pid_t self = getpid();
  pid_t first = 0;
  return !owner.compare_exchange_strong(first, self, std::memory_order_relaxed) && first != self;
}

void reportForkedChild() {
  static std::atomic<pid_t> reported{0};
  const pid_t self = getpid();
  if (reported.exchange(self, std::memory_order_relaxed) == self) return;
  const posix::ErrnoSaver saver;
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  if (poll(&output, 1, 0) <= 0) return;  // a full pipe would block
  posix::writeWithoutSignals(STDOUT_FILENO,
                             "[TrayManager] [TrayManager] 此进程由 fork 产生，托盘库属于其父进程，调用无效\n");
}

}  // namespace quill
