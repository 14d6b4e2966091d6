#pragma once

#include <string>

namespace quill::freedesktop {

/// What tells this application from others, the same in every run: the default GApplication's id,
/// else the name of the executable. Main thread, as all of these.
std::string hostId();
/// What people call this application; well-formed UTF-8.
std::string hostName();
/// Asks the application to end, in the way it offers: its own `quit` action, its quit, or the
/// signal that it can handle. It may refuse.
void terminateHost();

}  // namespace quill::freedesktop
