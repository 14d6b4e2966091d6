#pragma once

#include <functional>

namespace quill {

/// Calls the host and logs what it throws, as the C event loop that called us cannot handle exceptions. Main thread.
void callHost(const std::function<void()>& callback);

}  // namespace quill
