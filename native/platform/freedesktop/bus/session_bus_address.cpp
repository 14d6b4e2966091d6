#include "session_bus_address.h"

#include <gio/gio.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <string_view>

#include "glib_handles.h"
#include "sandbox.h"

namespace quill::freedesktop {
namespace {

/// Takes what lies before the first separator, and the separator, from the front of `text`.
std::string_view takePart(std::string_view& text, char separator) {
  const auto part = text.substr(0, text.find(separator));
  text.remove_prefix(std::min(part.size() + 1, text.size()));
  return part;
}

/// Returns empty for a malformed escape.
std::optional<std::string> unescapedValue(std::string_view value) {
  const GCharPointer text(g_uri_unescape_segment(value.data(), value.data() + value.size(), nullptr));
  return text ? std::optional<std::string>(text.get()) : std::nullopt;
}

/// The address of the bus in $XDG_RUNTIME_DIR; empty without such a directory.
std::optional<std::string> runtimeBusAddress() {
  const auto directory = runtimeDirectory();
  if (!directory) return std::nullopt;
  return std::string("unix:path=") + GCharPointer(g_dbus_address_escape_value((*directory + "/bus").c_str())).get();
}

/// Returns one alternative of an address in a form that sd-bus accepts, or empty if sd-bus would reject it. sd-bus
/// itself reports a malformed alternative only on connecting, and then for the address as a whole.
std::optional<std::string> usableAlternative(std::string_view alternative) {
  constexpr std::string_view kTransport = "unix:";
  constexpr std::size_t kGuidDigits = 32;
  if (!alternative.starts_with(kTransport)) return std::nullopt;
  int places = 0;
  bool isRuntime = false;
  for (auto rest = alternative.substr(kTransport.size()); !rest.empty();) {
    const auto pair = takePart(rest, ',');
    auto escaped = pair;
    const auto key = takePart(escaped, '=');
    const auto value = unescapedValue(escaped);
    if (!value || key.size() == pair.size()) return std::nullopt;
    if (key == "path" || key == "abstract") {
      // A path ends with a NUL in the kernel's structure, an abstract name begins with one besides.
      const auto room = sizeof(sockaddr_un::sun_path) - (key == "path" ? 1 : 2);
      if (value->empty() || value->size() > room) return std::nullopt;
      ++places;
    } else if (key == "runtime") {
      isRuntime = *value == "yes";
    } else if (key == "guid") {
      const bool isHex = std::ranges::all_of(*value, [](char c) { return g_ascii_isxdigit(c); });
      if (!isHex || value->size() != kGuidDigits) return std::nullopt;
    }
  }
  if (places == 1) return std::string(alternative);
  const auto address = isRuntime && places == 0 ? runtimeBusAddress() : std::nullopt;
  return address ? usableAlternative(*address) : std::nullopt;
}

std::optional<std::string> usableAddress(std::string_view address) {
  std::string usable;
  while (!address.empty()) {
    const auto alternative = usableAlternative(takePart(address, ';'));
    if (alternative) usable.append(usable.empty() ? "" : ";").append(*alternative);
  }
  return usable.empty() ? std::nullopt : std::optional(usable);
}

}  // namespace

std::optional<std::string> sessionBusAddress() {
  if (const auto address = environmentVariable("DBUS_SESSION_BUS_ADDRESS"); !address.empty()) {
    return usableAddress(address);
  }
  const auto directory = runtimeDirectory();
  struct stat status {};
  if (!directory || stat((*directory + "/bus").c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return std::nullopt;
  return usableAddress(*runtimeBusAddress());
}

std::vector<std::string> socketPaths(const std::string& address) {
  constexpr std::string_view kPath = "unix:path=";
  std::vector<std::string> paths;
  for (std::string_view rest = address; !rest.empty();) {
    auto alternative = takePart(rest, ';');
    if (!alternative.starts_with(kPath)) continue;
    alternative.remove_prefix(kPath.size());
    if (auto path = unescapedValue(takePart(alternative, ','))) paths.push_back(std::move(*path));
  }
  return paths;
}

}  // namespace quill::freedesktop
