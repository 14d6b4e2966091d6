#pragma once

namespace quill::freedesktop {

/// Sets the activation token of GDK's default display for the next window that is presented; null clears it. Does
/// nothing unless the process has loaded GTK 3 or 4 and the display is Wayland's. A GtkApplication does the same by
/// itself. Main thread.
void giveTokenToGdk(const char* token);

}  // namespace quill::freedesktop
