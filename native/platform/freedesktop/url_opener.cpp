#include "url_opener.h"

#include <gio/gio.h>

#include <csignal>
#include <utility>

namespace quill::freedesktop {
namespace {

/// The signal mask of the thread that asked, for the program that is started: it inherits this
/// thread's, which blocks them all.
class SignalMask {
 public:
  explicit SignalMask(const sigset_t& mask) { pthread_sigmask(SIG_SETMASK, &mask, &before_); }
  SignalMask(const SignalMask&) = delete;
  SignalMask& operator=(const SignalMask&) = delete;
  ~SignalMask() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

}  // namespace

void UrlOpener::open(Url url) {
  sigset_t askers{};
  pthread_sigmask(SIG_SETMASK, nullptr, &askers);
  queue_.submit([url = std::move(url), askers] {
    const SignalMask asked(askers);
    g_app_info_launch_default_for_uri(url.text.c_str(), nullptr, nullptr);
  });
}

}  // namespace quill::freedesktop
