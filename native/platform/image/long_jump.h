#pragma once

#include <csetjmp>

namespace quill {

/// Runs `work`, which calls a C library that fails with a jump to `jump`: then false. The jump skips destructors, so
/// `work` must need none; and no exception may pass through the library's frames.
template <typename Work>
[[gnu::noinline]] bool finishes(std::jmp_buf& jump, const Work& work) {
  if (setjmp(jump) != 0) return false;  // NOLINT(*-err52-cpp): the library's only way out
  work();
  return true;
}

}  // namespace quill
