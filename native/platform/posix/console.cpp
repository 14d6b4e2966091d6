#include "console.h"

#include <fcntl.h>
#include <poll.h>
#include <stdio_ext.h>

#include <chrono>
#include <cstdio>

#include "quiet_write.h"
#include "standard_output_lock.h"

namespace quill::posix {

namespace {

// How long a host's non-blocking standard output may stay full before the line is given up.
constexpr std::chrono::milliseconds kPatience{1000};
// How often it may refuse a line although it is said to take one, as what is no stream does.
constexpr int kMostRefusals = 16;

bool becomesWritable(int file, std::chrono::steady_clock::time_point deadline) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    pollfd waited{file, POLLOUT, 0};
    const int ready = poll(&waited, 1, static_cast<int>(left.count()));
    if (ready > 0) return true;
    if (ready == 0 || errno != EINTR) return false;
  }
}

// A flush that finds a non-blocking file full would lose what the host printed.
bool flush(FILE* stream, int file) {
  if (__fpending(stream) == 0) return true;
  const bool mayRefuse = file >= 0 && (fcntl(file, F_GETFL) & O_NONBLOCK) != 0;
  if (mayRefuse && !becomesWritable(file, std::chrono::steady_clock::now() + kPatience)) return false;
  WriteSignalsHeld held;
  if (fflush_unlocked(stream) != 0) held.drop();
  return true;
}

// Past the stream: it would take the stream's orientation, and leave the line there where writing fails.
void write(int file, std::string_view bytes) {
  std::chrono::steady_clock::time_point deadline{};
  int refusals = 0;
  while (!bytes.empty()) {
    const auto written = writeQuietly(file, bytes);
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN && ++refusals <= kMostRefusals) {
      if (deadline == decltype(deadline){}) deadline = std::chrono::steady_clock::now() + kPatience;
      if (!becomesWritable(file, deadline)) return;
    } else if (errno != EINTR) {
      return;
    }
  }
}

}  // namespace

void writeToStandardOutput(std::string_view bytes) {
  const ErrnoKept kept;
  const StandardOutputLock locked;
  const int file = fileno(stdout);
  if (!flush(stdout, file)) return;
  if (file >= 0) {
    write(file, bytes);
  } else {  // a stream that the host made from functions of its own
    fwrite_unlocked(bytes.data(), 1, bytes.size(), stdout);
    fflush_unlocked(stdout);
  }
}

}  // namespace quill::posix
