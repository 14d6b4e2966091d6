#include "common_log_manager.h"

#include <atomic>
#include <utility>

#include "immortal.h"
#include "log_line.h"

namespace quill {

const std::shared_ptr<CommonLogManager>& CommonLogManager::shared() {
  static std::atomic<const std::shared_ptr<CommonLogManager>*> made{nullptr};
  if (const auto* const manager = made.load(std::memory_order_acquire)) return *manager;
  const std::lock_guard lock(Surroundings::creation);
  static const Immortal<std::shared_ptr<CommonLogManager>> manager([] { return make(Surroundings::current()); });
  made.store(&manager.get(), std::memory_order_release);
  return manager.get();
}

std::shared_ptr<CommonLogManager> CommonLogManager::make(Surroundings& surroundings) {
  struct Makeable : CommonLogManager {
    explicit Makeable(Surroundings& its) : CommonLogManager(its) {}
  };
  return std::make_shared<Makeable>(surroundings);
}

CommonLogManager::CommonLogManager(Surroundings& surroundings)
    : surroundings_(surroundings), logQueue_(surroundings.makeSerialQueue("com.orvi.tamble.common.log")) {}

std::optional<std::filesystem::path> CommonLogManager::getLogFileURL() {
  const auto base = surroundings_.userDirectory(home_);
  if (!base) return std::nullopt;
  const auto directory = *base / "Library" / "Application Support" / "com.orvi.tamble" / ".logs";
  if (const auto error = surroundings_.createDirectories(directory)) {
    reportFailure("无法创建日志目录", error);
    return std::nullopt;
  }
  return directory / "native.log";
}

void CommonLogManager::log(std::string_view message, std::string_view level, std::string_view module) {
  LogLine line(surroundings_.now(), level, module, message);
  surroundings_.writeConsole(line.forConsole());
  logQueue_->submit([self = shared_from_this(), text = std::move(line).forFile(),
                     home = surroundings_.homeVariable()]() mutable { self->append(text, std::move(home)); });
}

void CommonLogManager::append(const std::string& line, std::string home) {
  home_ = std::move(home);
  const auto file = getLogFileURL();
  if (!file) return;
  const bool exists = surroundings_.fileExists(*file);
  const auto missing = exists ? Surroundings::Missing::fail : Surroundings::Missing::create;
  if (const auto error = surroundings_.append(*file, line, missing)) {
    reportFailure(exists ? "无法打开日志文件" : "无法创建日志文件", error);
  }
}

void CommonLogManager::reportFailure(std::string_view what, const std::error_code& error) {
  std::string line("[CommonLogManager] ❌ ");
  line.append(what).append(": ").append(error.message()) += '\n';
  surroundings_.writeConsole(line);
}

}  // namespace quill
