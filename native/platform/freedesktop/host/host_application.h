#pragma once

#include <optional>
#include <string>

namespace quill::freedesktop {

/// Identifies this application, the same in every run: the default GApplication's id, else the name of the executable.
/// Main thread, unless said otherwise.
std::string hostId();
/// What people call this application; well-formed UTF-8.
std::string hostName();
/// Whether this is a sandbox or a container, which does not see the user's files and programs. Any thread.
bool isSandboxed();
/// The user's runtime directory, as the environment says now; empty without an absolute path. Any thread.
std::optional<std::string> runtimeDirectory();
/// Asks the application to end, in the way it offers: its own `quit` action, its quit, or the
/// signal that it can handle. It may refuse.
void terminateHost();

}  // namespace quill::freedesktop
