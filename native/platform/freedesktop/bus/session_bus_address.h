#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quill::freedesktop {

/// Where the session bus listens, as the environment says now; empty where it names none that can be connected to
/// without waiting: other transports than "unix:" look up host names or start programs. Any thread.
std::optional<std::string> sessionBusAddress();

/// The paths of an address's alternatives that begin with one. Any thread.
std::vector<std::string> socketPaths(const std::string& address);

}  // namespace quill::freedesktop
