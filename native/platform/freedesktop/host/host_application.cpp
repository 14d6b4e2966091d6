#include "host_application.h"

#include <gio/gio.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "glib_handles.h"
#include "no_destructor.h"
#include "process_queue.h"

namespace quill::freedesktop {
namespace {

std::string wellFormed(const char* text) { return GCharPointer(g_utf8_make_valid(text, -1)).get(); }

std::string readExecutableName() {
  std::error_code error;
  auto file = std::filesystem::read_symlink("/proc/self/exe", error).filename().string();
  constexpr std::string_view kReplaced = " (deleted)";  // the kernel's mark after an update on disk
  if (file.ends_with(kReplaced)) file.resize(file.size() - kReplaced.size());
  return wellFormed(file.empty() ? "application" : file.c_str());
}

/// Read once, because the name does not change.
const std::string& executableName() {
  static NoDestructor<std::string> name(readExecutableName());
  return name.get();
}

/// The name that the host gives itself, because many hosts share an interpreter's executable.
std::string programName() {
  const char* name = g_get_prgname();
  return name != nullptr && *name != '\0' ? wellFormed(name) : executableName();
}

}  // namespace

std::string hostId() {
  auto* const application = g_application_get_default();
  const char* id = application != nullptr ? g_application_get_application_id(application) : nullptr;
  return id != nullptr ? id : programName();
}

std::string hostName() {
  const char* name = g_get_application_name();  // the program's name where no other was set
  return name != nullptr && *name != '\0' ? wellFormed(name) : programName();
}

void terminateHost() {
  if (auto* const application = g_application_get_default(); application != nullptr) {
    auto* const quit = g_action_map_lookup_action(G_ACTION_MAP(application), "quit");
    if (quit != nullptr && g_action_get_parameter_type(quit) == nullptr) {
      g_action_activate(quit, nullptr);
      return;
    }
    if (g_application_get_is_registered(application) != FALSE) {
      g_application_quit(application);
      return;
    }
  }
  posix::drainQueues();  // a host without a handler for the signal ends immediately
  kill(getpid(), SIGTERM);
}

}  // namespace quill::freedesktop
