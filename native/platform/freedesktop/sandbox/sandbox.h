#pragma once

#include <optional>
#include <string>

namespace quill::freedesktop {

/// A variable of the environment as it is now; empty if it is unset. Any thread.
std::string environmentVariable(const char* name);
/// Whether this process runs in a sandbox or a container, which does not see the user's files and programs. Any thread.
bool isSandboxed();
/// The user's runtime directory, as the environment names it now; empty unless that is an absolute path. Any thread.
std::optional<std::string> runtimeDirectory();

}  // namespace quill::freedesktop
