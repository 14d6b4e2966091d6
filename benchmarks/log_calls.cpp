// What one log call takes at its caller: log_calls THREADS CALLS. Calls without a pause from all threads at once; says
// "calls" and the median and the 99th percentile in nanoseconds. What is then still to be written is dropped.
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

#ifndef WITH_WRITE
#include <quill_tray_manager.h>
#endif

namespace {

#ifdef WITH_WRITE

// The line on standard output, by the one system call that it takes.
void logOnce() {
  constexpr std::string_view line = "[TrayManager] [TrayManager] 打开 URL 失败：URL 字符串为空\n";
  if (write(STDOUT_FILENO, line.data(), line.size()) < 0) _exit(1);
}

#else

// Logs one line and does nothing else, on any thread.
void logOnce() { quill_tray_manager_open_url(nullptr); }

#endif

using Clock = std::chrono::steady_clock;

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  const int threads = std::atoi(arguments[1]);
  const auto calls = static_cast<std::size_t>(std::atoi(arguments[2]));
  logOnce();

  std::vector<std::vector<std::int64_t>> times(static_cast<std::size_t>(threads), std::vector<std::int64_t>(calls));
  std::barrier start(threads);
  std::vector<std::thread> running;
  for (auto& mine : times) {
    running.emplace_back([&start, &mine] {
      start.arrive_and_wait();
      for (auto& time : mine) {
        const auto before = Clock::now();
        logOnce();
        time = (Clock::now() - before).count();
      }
    });
  }
  for (auto& thread : running) thread.join();

  std::vector<std::int64_t> all;
  for (const auto& some : times) all.insert(all.end(), some.begin(), some.end());
  std::ranges::sort(all);
  std::fprintf(stderr, "calls %lld %lld\n", static_cast<long long>(all[all.size() / 2]),
               static_cast<long long>(all[all.size() * 99 / 100]));
  _exit(0);
}
