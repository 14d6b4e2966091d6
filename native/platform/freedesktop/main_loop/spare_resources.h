#pragma once

namespace quill::freedesktop {

// Resources whose lack makes GLib end the process. Callers check them first, so that the log gets an error line
// instead. Any thread.

/// Whether two more files can be open.
bool hasSpareDescriptors();
/// Whether one more thread can be started.
bool hasSpareThread();

}  // namespace quill::freedesktop
