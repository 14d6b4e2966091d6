#include "quiet_write.h"

#include <sys/resource.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <ctime>

namespace quill::posix {

namespace {

#ifdef __linux__
constexpr int kNoSignal = 0x100;  // RWF_NOSIGNAL, Linux 6.18; older kernels refuse it

ssize_t writeWithoutSignal(int file, std::string_view bytes) {
  const iovec whole{const_cast<char*>(bytes.data()), bytes.size()};
  return pwritev2(file, &whole, 1, -1, kNoSignal);
}
#else
ssize_t writeWithoutSignal(int, std::string_view) {
  errno = ENOSYS;
  return -1;
}
#endif

// A process whose files may only grow so far gets SIGXFSZ where one would grow further.
bool filesAreLimited() {
  rlimit limit{};
  return getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
}

// The longer way. Files that have a position raise no SIGPIPE, which spares masking it.
ssize_t writeHoldingSignals(int file, std::string_view bytes, bool limited) {
  if (!limited && lseek(file, 0, SEEK_CUR) >= 0) return write(file, bytes.data(), bytes.size());
  WriteSignalsHeld held;
  const auto written = write(file, bytes.data(), bytes.size());
  if (written < 0) held.drop();
  return written;
}

}  // namespace

WriteSignalsHeld::WriteSignalsHeld() {
  sigemptyset(&ours_);
  sigaddset(&ours_, SIGPIPE);
  sigaddset(&ours_, SIGXFSZ);
  pthread_sigmask(SIG_BLOCK, &ours_, &before_);
  sigset_t pending;
  sigpending(&pending);
  for (const int signal : {SIGPIPE, SIGXFSZ}) {
    if (sigismember(&pending, signal) == 1) sigdelset(&ours_, signal);
  }
}

WriteSignalsHeld::~WriteSignalsHeld() {
  const ErrnoKept kept;
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void WriteSignalsHeld::drop() {
  const ErrnoKept kept;
  const timespec noWait{};
  while (sigtimedwait(&ours_, nullptr, &noWait) > 0) {
  }
}

ssize_t writeQuietly(int file, std::string_view bytes) {
  static std::atomic<bool> kernelKeepsQuiet{true};
  const bool limited = filesAreLimited();
  if (limited || !kernelKeepsQuiet.load(std::memory_order_relaxed)) return writeHoldingSignals(file, bytes, limited);
  const auto written = writeWithoutSignal(file, bytes);
  if (written >= 0 || errno == EPIPE || errno == EAGAIN || errno == EINTR) return written;
  // Either the file's own failure, which shows again, or a kernel that does not know the flag.
  const auto again = writeHoldingSignals(file, bytes, limited);
  if (again >= 0) kernelKeepsQuiet.store(false, std::memory_order_relaxed);
  return again;
}

}  // namespace quill::posix
