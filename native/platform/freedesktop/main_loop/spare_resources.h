#pragma once

namespace quill::freedesktop {

// What GLib ends the process without, where it needs them. Tried beforehand, so that the log gets an error line
// instead. Any thread.

/// Whether two more files can be open.
bool hasSpareDescriptors();
/// Whether one more thread can be started.
bool hasSpareThread();

}  // namespace quill::freedesktop
