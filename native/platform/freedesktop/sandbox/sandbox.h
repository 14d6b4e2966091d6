#pragma once

#include <optional>
#include <string>

namespace quill::freedesktop {

/// Whether this process runs in a sandbox or a container, which does not see the user's files and programs. Any thread.
bool isSandboxed();
/// The user's runtime directory, as the environment names it now; empty unless that is an absolute path. Any thread.
std::optional<std::string> runtimeDirectory();

}  // namespace quill::freedesktop
