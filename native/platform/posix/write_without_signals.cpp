#include "write_without_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <ctime>

#include "errno_saver.h"
#include "signal_mask.h"

namespace quill::posix {

namespace {

#ifdef __APPLE__
/// Calls while the file raises no SIGPIPE. macOS sends a write's SIGPIPE to the process, so that a thread cannot block
/// it.
template <typename Call>
auto withoutSignals(int file, Call call) {
  const int before = fcntl(file, F_GETNOSIGPIPE);
  fcntl(file, F_SETNOSIGPIPE, 1);
  const auto result = call();
  const ErrnoSaver saver;
  if (before == 0) fcntl(file, F_SETNOSIGPIPE, 0);
  return result;
}
#else
/// Calls with both signals blocked, then removes those that the call raised on this thread.
template <typename Call>
auto withoutSignals(int /*file*/, Call call) {
  auto raised = signalSet({SIGPIPE, SIGXFSZ});
  const SignalMask blocked(SIG_BLOCK, raised);
  const auto wasBlocked = [&](int signal) { return sigismember(&blocked.before(), signal) == 1; };
  if (wasBlocked(SIGPIPE) || wasBlocked(SIGXFSZ)) {  // else neither can be pending
    sigset_t pending;
    sigpending(&pending);
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
      if (sigismember(&pending, signal) == 1) sigdelset(&raised, signal);
    }
  }
  const auto result = call();
  if (result < 0) {
    const ErrnoSaver saver;
    const timespec noWait{};
    while (sigtimedwait(&raised, nullptr, &noWait) > 0) continue;
  }
  return result;
}
#endif

}  // namespace

ssize_t writeWithoutSignals(int file, std::string_view bytes) {
  return withoutSignals(file, [&] { return write(file, bytes.data(), bytes.size()); });
}

int flushWithoutSignals(FILE* stream) {
  return withoutSignals(fileno(stream), [&] { return fflush(stream); });
}

}  // namespace quill::posix
