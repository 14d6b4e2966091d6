#include "sandbox.h"

#include <unistd.h>

#include <cstdlib>

namespace quill::freedesktop {
namespace {

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

bool isSandboxed() { return isSet("SNAP") || isSet("container") || access("/.flatpak-info", F_OK) == 0; }

std::optional<std::string> runtimeDirectory() {
  const char* const directory = std::getenv("XDG_RUNTIME_DIR");
  return directory != nullptr && *directory == '/' ? std::optional<std::string>(directory) : std::nullopt;
}

}  // namespace quill::freedesktop
