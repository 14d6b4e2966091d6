// What one log line takes at its caller: log_calls PROGRAM THREADS CALLS, where PROGRAM is "ours" or "write". All
// threads call at once and without a pause. A line "calls" has the median in nanoseconds. Lines in the log's queue are
// dropped.
#include <quill_tray_manager.h>
#include <unistd.h>

#include <algorithm>
#include <barrier>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <vector>

namespace {

/// Logs one line and does nothing else, on any thread.
void logOurs() { quill_tray_manager_open_url(nullptr); }

/// The same line on standard output, by one system call.
void logByWrite() {
  constexpr std::string_view line = "[TrayManager] [TrayManager] 打开 URL 失败：URL 字符串为空\n";
  if (write(STDOUT_FILENO, line.data(), line.size()) < 0) _exit(1);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 4) return 2;
  const auto log = arguments[1] == std::string_view("ours") ? logOurs : logByWrite;
  const auto threads = std::atoi(arguments[2]);
  const auto calls = static_cast<std::size_t>(std::atoi(arguments[3]));
  log();

  std::vector<std::int64_t> times(static_cast<std::size_t>(threads) * calls);
  std::barrier start(threads);
  std::vector<std::jthread> running;
  for (auto first = times.begin(); first != times.end(); first += static_cast<std::ptrdiff_t>(calls)) {
    running.emplace_back([&start, log, calls, first] {
      using Clock = std::chrono::steady_clock;
      start.arrive_and_wait();
      std::generate_n(first, calls, [log] {
        const auto before = Clock::now();
        log();
        return (Clock::now() - before).count();
      });
    });
  }
  running.clear();  // joins them

  const auto median = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::ranges::nth_element(times, median);
  std::fprintf(stderr, "calls %lld\n", static_cast<long long>(*median));
  _exit(0);
}
