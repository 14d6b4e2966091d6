#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "bar_source.h"

namespace quill::freedesktop {
namespace {

/// Themes of lxqt-themes with a light bar.
constexpr std::array<std::string_view, 4> kLightLxqtThemes = {"Clearlooks", "KDE-Plasma", "light", "system"};

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

/// Where lxqt-panel looks for its settings, the user's first.
std::vector<std::string> settingsFiles() {
  auto home = variable("XDG_CONFIG_HOME");
  if (home.empty()) home = variable("HOME") + "/.config";
  auto directories = variable("XDG_CONFIG_DIRS");
  if (directories.empty()) directories = "/etc/xdg";
  const auto searched = home + ':' + directories + ":/usr/share";
  std::vector<std::string> files;
  for (std::string_view rest = searched; !rest.empty();) {
    const auto directory = rest.substr(0, rest.find(':'));
    files.push_back(std::string(directory) + "/lxqt/lxqt.conf");
    rest.remove_prefix(std::min(directory.size() + 1, rest.size()));
  }
  return files;
}

/// The first file that names a theme counts.
Tone toneIn(const std::vector<std::string>& files) {
  constexpr std::string_view kKey = "theme=";
  for (const auto& file : files) {
    std::ifstream settings(file);
    for (std::string line; std::getline(settings, line);) {
      if (!line.starts_with(kKey)) continue;
      return std::ranges::count(kLightLxqtThemes, std::string_view(line).substr(kKey.size())) > 0 ? Tone::black
                                                                                                  : Tone::white;
    }
  }
  return Tone::white;
}

}  // namespace

ReadBar lxqtBar() {
  return [files = settingsFiles()] { return BarReading{toneIn(files)}; };
}

}  // namespace quill::freedesktop
