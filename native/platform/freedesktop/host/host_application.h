#pragma once

#include <string>

namespace quill::freedesktop {

/// Identifies this application, the same in every run: the default GApplication's id, else the program's name, else the
/// executable's. Main thread.
std::string hostId();
/// The application's name for people; well-formed UTF-8. Main thread.
std::string hostName();
/// Asks the application to end, in the way it offers: its own `quit` action, its quit, or the
/// signal that it can handle. It may refuse.
void terminateHost();

}  // namespace quill::freedesktop
