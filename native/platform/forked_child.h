#pragma once

namespace quill {

// The library belongs to the process that first called it. A forked child of that process has copies of its objects but
// not its threads; locks, descriptors and files are the parent's. Therefore the library does nothing in the child.
// quill_posix defines these functions. Any thread; async-signal-safe.

/// Whether this is such a child.
bool isForkedChild();
/// Writes a line to standard output, in each child once.
void reportForkedChild();

}  // namespace quill
