#pragma once

#include <sys/types.h>

#include <cstdio>
#include <string_view>

namespace quill::posix {

// Neither raises SIGPIPE (no reader) or SIGXFSZ (the process's limit on file sizes). Signal handlers and signals that
// are already pending are left as they are.

/// write(2)
ssize_t writeWithoutSignals(int file, std::string_view bytes);
/// fflush(3) of a stream that the caller has locked.
int flushWithoutSignals(FILE* stream);

}  // namespace quill::posix
