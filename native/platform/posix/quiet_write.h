#pragma once

#include <sys/types.h>

#include <cstdio>
#include <string_view>

namespace quill::posix {

// Neither raises SIGPIPE, where the other end of a pipe or socket is gone, nor SIGXFSZ, where a file
// would grow beyond the process's limit. Handlers and signals that waited before stay untouched.

/// write(2)
ssize_t writeQuietly(int file, std::string_view bytes);
/// fflush(3) of a stream that the caller has locked.
int flushQuietly(FILE* stream);

}  // namespace quill::posix
