#include "common_log_manager.h"

#include <chrono>
#include <new>
#include <utility>

#include "no_destructor.h"

namespace quill {

namespace {

/// Appends "yyyy-MM-dd HH:mm:ss.SSS".
void appendTimestamp(std::string& text, std::chrono::local_time<std::chrono::milliseconds> time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  char stamp[] = "0000-00-00 00:00:00.000";
  const auto put = [&stamp](std::size_t end, std::size_t digits, auto number) {
    auto value = static_cast<unsigned>(number);
    for (auto at = end; at > end - digits; value /= 10) stamp[--at] = static_cast<char>('0' + value % 10);
  };
  put(4, 4, static_cast<int>(date.year()));
  put(7, 2, static_cast<unsigned>(date.month()));
  put(10, 2, static_cast<unsigned>(date.day()));
  put(13, 2, clock.hours().count());
  put(16, 2, clock.minutes().count());
  put(19, 2, clock.seconds().count());
  put(23, 3, clock.subseconds().count());
  text.append(stamp);
}

}  // namespace

/// The bytes of a line beside its three texts: timestamp, punctuation and line feed.
constexpr std::size_t kLineOverhead = 31;
/// The memory of a waiting line beside its text, in bytes.
constexpr std::size_t kJobSize = 256;
/// The limit for the lines that wait for the file.
constexpr std::size_t kMaxWaitingBytes = std::size_t{64} << 20U;

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
  std::string text;
  text.reserve(kLineOverhead + level.size() + module.size() + message.size());
  text += '[';
  appendTimestamp(text, environment_.now());
  text.append("][").append(level).append("]");
  const auto consoleStart = text.size();  // the console's line is the tail of the file's
  text.append("[").append(module).append("] ").append(message) += '\n';
  environment_.writeConsole(std::string_view(text).substr(consoleStart));
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
