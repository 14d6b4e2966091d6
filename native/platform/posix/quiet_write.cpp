#include "quiet_write.h"

#include <unistd.h>

#include <ctime>

#include "errno_saver.h"
#include "signal_mask.h"

namespace quill::posix {

namespace {

/// Calls with both signals blocked, then removes those that the call raised on this thread.
template <typename Call>
auto withoutSignals(Call call) {
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

}  // namespace

ssize_t writeQuietly(int file, std::string_view bytes) {
  return withoutSignals([&] { return write(file, bytes.data(), bytes.size()); });
}

int flushQuietly(FILE* stream) {
  return withoutSignals([&] { return fflush_unlocked(stream); });
}

}  // namespace quill::posix
