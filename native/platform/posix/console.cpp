#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#ifndef __APPLE__
#include <stdio_ext.h>
#endif

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "errno_saver.h"
#include "no_destructor.h"
#include "posix_environment.h"
#include "standard_output_lock.h"
#include "write_without_signals.h"

namespace quill::posix {

namespace {

using Clock = std::chrono::steady_clock;

// How long all callers together wait while a non-blocking standard output is full.
constexpr std::chrono::milliseconds kTimeout{100};

/// Exists from the moment a non-blocking standard output refuses bytes until it accepts a whole line again.
class Blockage {
 public:
  explicit Blockage(int file) : status_(statusOf(file)) {}

  std::string rest;  ///< of a line that was partly written; to be written before any other

  bool isTimeUp() const { return Clock::now() >= deadline_; }
  /// Checks at least once, even if the time is up.
  bool waitUntilWritable(int file) const {
    for (;;) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
      pollfd waited{file, POLLOUT, 0};
      const int ready = poll(&waited, 1, std::max(0, static_cast<int>(left.count())));
      if (ready > 0) return true;
      if (ready == 0 || errno != EINTR) return false;
    }
  }

  bool isOf(int file) const {
    const auto now = statusOf(file);
    return now.st_dev == status_.st_dev && now.st_ino == status_.st_ino;
  }

 private:
  static struct stat statusOf(int file) {
    struct stat status {};
    fstat(file, &status);
    return status;
  }

  struct stat status_;
  Clock::time_point deadline_ = Clock::now() + kTimeout;
};

/// The current blockage, if any. Guarded by the lock of standard output.
std::unique_ptr<Blockage>& blockage() {
  static NoDestructor<std::unique_ptr<Blockage>> current;
  return current.get();
}

Blockage& blockageOf(int file) {
  if (!blockage()) blockage() = std::make_unique<Blockage>(file);
  return *blockage();
}

/// Removes the written bytes from `bytes`, or all of them after a permanent failure. Returns false if the file is full.
bool writeAll(int file, std::string_view& bytes) {
  while (!bytes.empty()) {
    const auto written = writeWithoutSignals(file, bytes);
    if (written > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (written < 0 && errno == EAGAIN) {
      const auto& blocked = blockageOf(file);
      if (blocked.isTimeUp() || !blocked.waitUntilWritable(file)) return false;
    } else if (written == 0 || errno != EINTR) {
      bytes = {};
    }
  }
  return true;
}

bool hasPrinted() {
#ifdef __APPLE__
  return stdout->_p != stdout->_bf._base;
#else
  return __fpending(stdout) != 0;
#endif
}

/// Flushes the host's own output. Returns false if the file is full and non-blocking, because a flush would lose bytes.
bool flushHost(int file) {
  if (!hasPrinted()) return true;
  const bool mayRefuse = (fcntl(file, F_GETFL) & O_NONBLOCK) != 0;
  if (mayRefuse && !blockageOf(file).waitUntilWritable(file)) return false;
  flushWithoutSignals(stdout);
  return true;
}

/// Writes the rest of a line that was partly written. Returns false if the file is still full.
bool finishRest(int file) {
  if (blockage() && !blockage()->isOf(file)) blockage().reset();
  if (!blockage()) return true;
  std::string_view rest = blockage()->rest;
  const bool isDone = writeAll(file, rest);
  blockage()->rest = std::string(rest);
  return isDone;
}

}  // namespace

void Environment::writeConsole(std::string_view line) {
  const ErrnoSaver saver;
  const StandardOutputLock locked;
  const int file = fileno(stdout);
  if (file < 0) {  // a stream made by fopencookie(3)
    fwrite(line.data(), 1, line.size(), stdout);
    fflush(stdout);
    return;
  }
  if (!finishRest(file) || !flushHost(file)) return;
  // Bypasses the stream, because a stream would get an orientation and would keep the line after a failure.
  auto left = line;
  if (writeAll(file, left)) {
    blockage().reset();
  } else if (left.size() < line.size()) {
    blockage()->rest = left;
  }
}

}  // namespace quill::posix
