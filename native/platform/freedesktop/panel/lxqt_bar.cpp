#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bar_source.h"
#include "glib_main_queue.h"
#include "worker_queue.h"

namespace quill::freedesktop {
namespace {

/// Themes of lxqt-themes with a light bar.
constexpr std::array<std::string_view, 4> kLightThemes = {"Clearlooks", "KDE-Plasma", "light", "system"};

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
      return std::ranges::count(kLightThemes, std::string_view(line).substr(kKey.size())) > 0 ? Tone::black
                                                                                              : Tone::white;
    }
  }
  return Tone::white;
}

class LxqtBar final : public BarSource {
 public:
  explicit LxqtBar(Told told) : told_(std::make_shared<Told>(std::move(told))) {}

  /// The disk is read on a thread of its own, which ends with the answer.
  void ask() override {
    posix::WorkerQueue worker("quill.tray.panel", posix::Priority::utility);
    worker.submit([told = std::weak_ptr<Told>(told_), files = settingsFiles()] {
      GlibMainQueue().post([told, tone = toneIn(files)] {
        if (const auto handler = told.lock()) (*handler)({tone, false});
      });
    });
  }

 private:
  std::shared_ptr<Told> told_;
};

}  // namespace

std::unique_ptr<BarSource> makeLxqtBar(BarSource::Told told) { return std::make_unique<LxqtBar>(std::move(told)); }

}  // namespace quill::freedesktop
