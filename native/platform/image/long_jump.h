#pragma once

#include <csetjmp>

namespace quill {

/// Runs `work`, which calls a C library that reports a failure by a jump to `jump`. Returns false after such a jump.
/// `work` must need no destructors, because the jump skips them, and must not throw through the library's frames.
template <typename Work>
[[gnu::noinline]] bool finishes(std::jmp_buf& jump, const Work& work) {
  if (setjmp(jump) != 0) return false;  // NOLINT(*-err52-cpp): the library's only way out
  work();
  return true;
}

}  // namespace quill
