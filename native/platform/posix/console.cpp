#include "console.h"

#include <fcntl.h>
#include <poll.h>
#include <stdio_ext.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "errno_saver.h"
#include "no_destructor.h"
#include "owner_process.h"
#include "quiet_write.h"
#include "standard_output_lock.h"

namespace quill::posix {

namespace {

using Clock = std::chrono::steady_clock;

// How long all callers together wait for the reader of a full non-blocking standard output.
constexpr std::chrono::milliseconds kTimeout{100};

/// A non-blocking standard output that did not take all it was given. Ends with the next line it takes whole.
class Blockage {
 public:
  explicit Blockage(int file) : status_(statusOf(file)) {}

  std::string rest;  ///< of a line that was partly written: it goes out before any other

  bool isTimeUp() const { return Clock::now() >= deadline_; }
  /// Looks at least once, also where the time is up.
  bool waitUntilWritable(int file) const {
    for (;;) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
      pollfd waited{file, POLLOUT, 0};
      const int ready = poll(&waited, 1, std::max(0, static_cast<int>(left.count())));
      if (ready > 0) return true;
      if (ready == 0 || errno != EINTR) return false;
    }
  }

  bool isOwn() const { return owner_.isCurrent(); }
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

  OwnerProcess owner_;
  struct stat status_;
  Clock::time_point deadline_ = Clock::now() + kTimeout;
};

/// What stands in the way of the next line; the lock of standard output guards it.
std::unique_ptr<Blockage>& blockage() {
  static constinit NoDestructor<std::unique_ptr<Blockage>> current;
  return current.get([] { return nullptr; });
}

Blockage& blockageOf(int file) {
  if (!blockage()) blockage() = std::make_unique<Blockage>(file);
  return *blockage();
}

/// Takes off `bytes` what was written, and all where writing fails for good. False: the rest has to wait.
bool write(int file, std::string_view& bytes) {
  while (!bytes.empty()) {
    const auto written = writeQuietly(file, bytes);
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

/// A flush that finds a non-blocking file full would lose what the host printed.
bool flush(FILE* stream, int file) {
  if (__fpending(stream) == 0) return true;
  const bool mayRefuse = (fcntl(file, F_GETFL) & O_NONBLOCK) != 0;
  if (mayRefuse && !blockageOf(file).waitUntilWritable(file)) return false;
  flushQuietly(stream);
  return true;
}

/// Goes on with the line that was partly written. False: still in the way.
bool finishRest(int file) {
  if (!blockage()) return true;
  if (!blockage()->isOwn()) static_cast<void>(blockage().release());  // the parent's, perhaps in the midst of a change
  if (blockage() && !blockage()->isOf(file)) blockage().reset();
  if (!blockage()) return true;
  std::string_view rest = blockage()->rest;
  const bool isDone = write(file, rest);
  blockage()->rest = std::string(rest);
  return isDone;
}

}  // namespace

void writeToStandardOutput(std::string_view bytes) {
  const ErrnoSaver saver;
  const StandardOutputLock locked;
  const int file = fileno(stdout);
  if (file < 0) {  // a stream that the host made from functions of its own
    fwrite_unlocked(bytes.data(), 1, bytes.size(), stdout);
    fflush_unlocked(stdout);
    return;
  }
  if (!finishRest(file) || !flush(stdout, file)) return;
  // Past the stream: it would take the stream's orientation, and leave the line there where writing fails.
  auto left = bytes;
  if (write(file, left)) {
    blockage().reset();
  } else if (left.size() < bytes.size()) {
    blockage()->rest = left;
  }
}

}  // namespace quill::posix
