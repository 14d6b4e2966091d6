#pragma once

#include <csetjmp>

namespace quill {

/// Runs `work`, which calls a C library that gives up by a jump to `jump`: then false. Nothing in `work` may have a
/// destructor, as it would be skipped; and no exception may pass through the library's frames.
template <typename Work>
[[gnu::noinline]] bool finishes(std::jmp_buf& jump, const Work& work) {
  if (setjmp(jump) != 0) return false;  // NOLINT(*-err52-cpp): the library's only way out
  work();
  return true;
}

}  // namespace quill
