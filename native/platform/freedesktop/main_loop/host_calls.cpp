#include "host_calls.h"

#include <utility>

#include "report.h"

namespace quill::freedesktop {

void HostCalls::add(std::function<void()> call) {
  waiting_.push_back(std::move(call));
  postNext();
}

void HostCalls::postNext() {
  if (isPosted_ || waiting_.empty() || depth_ >= kMaxDepth) return;
  queue_.post([self = shared_from_this()] {
    self->isPosted_ = false;
    self->makeNext();
  });
  isPosted_ = true;
}

void HostCalls::makeNext() {
  const auto call = std::move(waiting_.front());
  waiting_.pop_front();
  ++depth_;
  completes([this] { postNext(); });  // before the call, which may run a main loop
  completes(call);
  --depth_;
  postNext();
}

}  // namespace quill::freedesktop
