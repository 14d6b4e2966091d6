#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "bar_colours.h"
#include "sandbox.h"

namespace quill::freedesktop {
namespace {

/// Themes of lxqt-themes with a light bar.
constexpr std::array<std::string_view, 4> kLightLxqtThemes = {"Clearlooks", "KDE-Plasma", "light", "system"};

/// The files of that name in which a desktop looks for its settings, the user's first.
std::vector<std::string> settingsFiles(std::string_view name) {
  auto home = environmentVariable("XDG_CONFIG_HOME");
  if (home.empty()) home = environmentVariable("HOME") + "/.config";
  auto directories = environmentVariable("XDG_CONFIG_DIRS");
  if (directories.empty()) directories = "/etc/xdg";
  const auto searched = home + ':' + directories + ":/usr/share";
  std::vector<std::string> files;
  for (std::string_view rest = searched; !rest.empty();) {
    const auto directory = rest.substr(0, rest.find(':'));
    files.push_back(std::string(directory) + '/' + std::string(name));
    rest.remove_prefix(std::min(directory.size() + 1, rest.size()));
  }
  return files;
}

/// Returns the value of a key from the first file that holds the key. `group` includes its brackets. Returns an empty
/// text if no file holds the key.
std::string setting(const std::vector<std::string>& files, std::string_view group, std::string_view key) {
  for (const auto& file : files) {
    std::ifstream settings(file);
    bool isInGroup = false;
    for (std::string line; std::getline(settings, line);) {
      if (line.starts_with('[')) isInGroup = line == group;
      if (isInGroup && line.starts_with(key) && line.substr(key.size()).starts_with('=')) {
        return line.substr(key.size() + 1);
      }
    }
  }
  return {};
}

Tone plasmaTone(const std::string& theme, const std::string& windowColour) {
  if (theme.find("dark") != std::string::npos) return Tone::white;
  if (theme.find("light") != std::string::npos) return Tone::black;
  int red = 0;
  int green = 0;
  int blue = 0;
  // Breeze, whose colours are light, is Plasma's default.
  if (std::sscanf(windowColour.c_str(), "%d,%d,%d", &red, &green, &blue) != 3) return Tone::black;
  return isLight(red / 255.0, green / 255.0, blue / 255.0) ? Tone::black : Tone::white;
}

}  // namespace

ReadBar lxqtBar() {
  return [files = settingsFiles("lxqt/lxqt.conf")] {
    const auto theme = setting(files, "[General]", "theme");
    return BarReading{std::ranges::count(kLightLxqtThemes, theme) > 0 ? Tone::black : Tone::white};
  };
}

ReadBar plasmaBar() {
  return [themes = settingsFiles("plasmarc"), colours = settingsFiles("kdeglobals")] {
    return BarReading{
        plasmaTone(setting(themes, "[Theme]", "name"), setting(colours, "[Colors:Window]", "BackgroundNormal"))};
  };
}

}  // namespace quill::freedesktop
