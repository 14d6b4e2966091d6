#pragma once

#include <cstdio>
#include <cstdlib>

namespace quill::fuzz {

/// What must hold whatever comes in; else the input is a finding.
inline void require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: does not hold\n", file, line);
  std::abort();
}

}  // namespace quill::fuzz
