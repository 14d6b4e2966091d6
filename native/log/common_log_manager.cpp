#include "common_log_manager.h"

#include <new>
#include <utility>

#include "log_line.h"
#include "no_destructor.h"

namespace quill {

/// The memory of a waiting line beside its text, in bytes.
constexpr std::size_t kJobSize = 256;

const std::shared_ptr<CommonLogManager>& CommonLogManager::shared() {
  static NoDestructor<std::shared_ptr<CommonLogManager>> manager(make(Environment::current()));
  return manager.get();
}

std::shared_ptr<CommonLogManager> CommonLogManager::make(Environment& environment) {
  struct Access : CommonLogManager {  // make_shared needs a public constructor
    explicit Access(Environment& environment) : CommonLogManager(environment) {}
  };
  return std::make_shared<Access>(environment);
}

CommonLogManager::CommonLogManager(Environment& environment)
    : environment_(environment), logQueue_(environment.makeSerialQueue("com.orvi.tamble.common.log")) {}

std::optional<std::filesystem::path> CommonLogManager::getLogFileURL() {
  const auto base = environment_.userDirectory(home_);
  if (!base) return std::nullopt;
  const auto directory = *base / "Library" / "Application Support" / "com.orvi.tamble" / ".logs";
  if (const auto error = environment_.createDirectories(directory)) {
    reportFailure("无法创建日志目录", error);
    return std::nullopt;
  }
  return directory / "native.log";
}

void CommonLogManager::log(std::string_view message, std::string_view level, std::string_view module) {
  LogLine line(environment_.now(), level, module, message);
  environment_.writeConsole(line.forConsole());
  auto text = std::move(line).forFile();
  const auto size = kJobSize + text.size();
  // Subtracts the line's size when the job is destroyed, also by a queue that had no memory for it.
  const auto subtract = [self = shared_from_this(), size](void*) { self->waitingBytes_ -= size; };
  const bool fits = (waitingBytes_ += size) <= kMaxWaitingBytes;
  std::shared_ptr<void> waiting(nullptr, subtract);
  if (!fits) return;
  logQueue_->submit([self = shared_from_this(), text = std::move(text), home = environment_.homeVariable(),
                     waiting = std::move(waiting)]() mutable { self->append(text, std::move(home)); });
}

void CommonLogManager::append(const std::string& line, std::string home) try {
  home_ = std::move(home);
  const auto file = getLogFileURL();
  if (!file) return;
  const bool exists = environment_.fileExists(*file);
  const auto missing = exists ? Environment::Missing::fail : Environment::Missing::create;
  const auto flush = logQueue_->isDraining() ? Environment::Flush::later : Environment::Flush::now;
  if (const auto error = environment_.append(*file, line, missing, flush)) {
    reportFailure(exists ? "无法打开日志文件" : "无法创建日志文件", error);
  }
} catch (const std::bad_alloc&) {  // the line is not stored
}

void CommonLogManager::reportFailure(std::string_view what, const std::error_code& error) {
  std::string line("[CommonLogManager] ❌ ");
  line.append(what).append(": ").append(error.message()) += '\n';
  environment_.writeConsole(line);
}

}  // namespace quill
