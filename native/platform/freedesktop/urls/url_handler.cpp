#include "url_handler.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "glib_handles.h"
#include "gobject_handles.h"

namespace quill::freedesktop {
namespace {

std::string orEmpty(const char* text) { return text != nullptr ? text : ""; }

/// GFile knows the type as well, but loads GVfs for it, which keeps threads and a bus connection.
GCharPointer contentType(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (is_directory(status)) return GCharPointer(g_strdup("inode/directory"));
  if (!is_regular_file(status)) return nullptr;
  std::array<char, 4096> head{};  // as much as the type database looks at
  std::ifstream file(path, std::ios::binary);
  file.read(head.data(), head.size());
  return GCharPointer(g_content_type_guess(path.c_str(), reinterpret_cast<const guchar*>(head.data()),
                                           static_cast<gsize>(file.gcount()), nullptr));
}

ObjectPointer<GAppInfo> defaultHandler(const Url& url, const std::string& path) {
  const GCharPointer scheme(g_uri_parse_scheme(url.text.c_str()));
  if (!scheme) return nullptr;
  ObjectPointer<GAppInfo> handler(g_app_info_get_default_for_uri_scheme(scheme.get()));
  if (handler || path.empty()) return handler;
  const auto type = contentType(path);
  if (type) handler.reset(g_app_info_get_default_for_type(type.get(), FALSE));
  return handler;
}

/// The `Exec` line with its field codes filled in; GIO does so only on its way to start the program.
std::vector<std::string> commandLine(GDesktopAppInfo* info, const Url& url, const std::string& path) {
  const char* line = g_app_info_get_commandline(G_APP_INFO(info));
  char** parsed = nullptr;
  if (line == nullptr || g_shell_parse_argv(line, nullptr, &parsed, nullptr) == FALSE) return {};
  const std::unique_ptr<char*, decltype(&g_strfreev)> words(parsed, g_strfreev);
  std::vector<std::string> arguments;
  bool takesUrl = false;
  for (char** next = words.get(); *next != nullptr; ++next) {
    const std::string_view word = *next;
    if (word == "%i") {
      if (const GCharPointer icon(g_desktop_app_info_get_string(info, "Icon")); icon) {
        arguments.insert(arguments.end(), {"--icon", icon.get()});
      }
      continue;
    }
    std::string argument;
    for (std::size_t i = 0; i < word.size(); ++i) {
      if (word[i] != '%' || i + 1 == word.size()) {
        argument += word[i];
        continue;
      }
      const char code = word[++i];
      if (code == '%') argument += '%';
      if (code == 'u' || code == 'U') argument += url.text;
      if (code == 'f' || code == 'F') argument += path;
      if (code == 'c') argument += g_app_info_get_name(G_APP_INFO(info));
      if (code == 'k') argument += orEmpty(g_desktop_app_info_get_filename(info));
      takesUrl |= std::string_view("uUfF").find(code) != std::string_view::npos;
    }
    if (!argument.empty() || word.empty()) arguments.push_back(std::move(argument));
  }
  if (!takesUrl) arguments.push_back(path.empty() ? url.text : path);
  return arguments;
}

/// The bus name under which an application accepts URLs. A desktop file with that ability has the bus name as its name.
std::string busName(GDesktopAppInfo* info) {
  if (g_desktop_app_info_get_boolean(info, "DBusActivatable") == FALSE) return {};
  auto name = std::filesystem::path(orEmpty(g_desktop_app_info_get_filename(info))).stem().string();
  return g_dbus_is_name(name.c_str()) != FALSE && g_dbus_is_unique_name(name.c_str()) == FALSE ? name : std::string();
}

}  // namespace

std::string localPath(const Url& url) {
  return orEmpty(GCharPointer(g_filename_from_uri(url.text.c_str(), nullptr, nullptr)).get());
}

std::optional<UrlHandler> findUrlHandler(const Url& url) {
  const auto path = localPath(url);
  const auto found = defaultHandler(url, path);
  if (!found || G_IS_DESKTOP_APP_INFO(found.get()) == FALSE) return std::nullopt;
  auto* const info = G_DESKTOP_APP_INFO(found.get());
  UrlHandler handler;
  // A sandboxed application does not see the user's files; its command line makes this one visible to it.
  const bool seesFile = path.empty() || g_desktop_app_info_has_key(info, "X-Flatpak") == FALSE;
  if (seesFile) handler.busName = busName(info);
  if (g_desktop_app_info_get_boolean(info, "Terminal") == FALSE) {
    handler.program.arguments = commandLine(info, url, path);
    handler.program.directory = orEmpty(GCharPointer(g_desktop_app_info_get_string(info, "Path")).get());
  }
  return handler;
}

}  // namespace quill::freedesktop
