#include "sandbox.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace quill::freedesktop {

std::string environmentVariable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

bool isSandboxed() {
  return !environmentVariable("SNAP").empty() || !environmentVariable("container").empty() ||
         access("/.flatpak-info", F_OK) == 0;
}

std::optional<std::string> runtimeDirectory() {
  auto directory = environmentVariable("XDG_RUNTIME_DIR");
  return directory.starts_with('/') ? std::optional(std::move(directory)) : std::nullopt;
}

}  // namespace quill::freedesktop
