#pragma once

namespace quill {

// The library belongs to the process that called it first. A forked child of that process has copies of its objects,
// but not its threads; its locks, descriptors and files are the parent's. So the library does nothing there. Defined by
// quill_posix. Any thread; async-signal-safe.

/// Whether this is such a child.
bool isForkedChild();
/// Writes a line to standard output, in each child once.
void reportForkedChild();

}  // namespace quill
