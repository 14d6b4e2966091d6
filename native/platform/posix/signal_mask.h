#pragma once

#include <csignal>
#include <initializer_list>

namespace quill::posix {

inline sigset_t signalSet(std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals) sigaddset(&set, signal);
  return set;
}

/// Changes the calling thread's signal mask as pthread_sigmask(3) does and restores it. Keeps errno.
class SignalMask {
 public:
  SignalMask(int how, const sigset_t& signals) { pthread_sigmask(how, &signals, &before_); }
  SignalMask(const SignalMask&) = delete;
  SignalMask& operator=(const SignalMask&) = delete;
  ~SignalMask() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

  const sigset_t& before() const { return before_; }

 private:
  sigset_t before_{};
};

}  // namespace quill::posix
