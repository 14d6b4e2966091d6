#pragma once

#include <functional>
#include <string>

namespace quill::freedesktop {

/// Identifies this application, the same in every run: the default GApplication's id, else the name of the executable.
/// Main thread.
std::string hostId();
/// The application's name for people; well-formed UTF-8. Main thread.
std::string hostName();
/// Calls `work` as something that the user asked for: the default GApplication is told the panel's activation token, as
/// it is for what arrives from another process, so that a window which `work` presents may be raised. Without a token
/// or a registered application it only calls `work`, which must not throw. Main thread.
void runWithActivationToken(const std::string& token, const std::function<void()>& work);
/// Asks the application to end, in the way it offers: its own `quit` action, its quit, or the
/// signal that it can handle. It may refuse.
void terminateHost();

}  // namespace quill::freedesktop
