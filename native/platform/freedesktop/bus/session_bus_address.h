#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quill::freedesktop {

/// The session bus's address, as the environment names it now. Empty if the environment names no address that can be
/// connected to without blocking: other transports than "unix:" look up host names or start programs. Any thread.
std::optional<std::string> sessionBusAddress();

/// The paths of an address's alternatives that begin with one. Any thread.
std::vector<std::string> socketPaths(const std::string& address);

}  // namespace quill::freedesktop
