#pragma once

#include <string>

namespace quill::freedesktop {

/// Returns an id of this application that is the same in every run: the default GApplication's id, otherwise the
/// program's name, otherwise the executable's. Main thread.
std::string hostId();
/// The application's name for people; well-formed UTF-8. Main thread.
std::string hostName();
/// Asks the application to quit in the first way that exists: its `quit` action, g_application_quit(), or a signal that
/// it can handle. The application may refuse.
void terminateHost();

}  // namespace quill::freedesktop
