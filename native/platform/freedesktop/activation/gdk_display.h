#pragma once

namespace quill::freedesktop {

/// Gives GDK's default display an activation token for the next window that is presented; null takes it back. Does
/// nothing unless the process has loaded GTK 3 or 4 and the display is Wayland's. A GtkApplication does this by itself.
/// Main thread.
void giveTokenToGdk(const char* token);

}  // namespace quill::freedesktop
