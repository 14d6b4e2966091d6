#include "glib_main_queue.h"

#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <utility>
#include <vector>

#include "file_descriptor.h"
#include "forked_child.h"
#include "report.h"

// GLib's lock passes a call from the posting thread to the main thread. GLib is not built with the thread sanitizer, so
// these macros report the transfer.
#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#define QUILL_HAND_OVER(call) __tsan_release(call)
#define QUILL_TAKE_OVER(call) __tsan_acquire(call)
#else
#define QUILL_HAND_OVER(call) static_cast<void>(0)
#define QUILL_TAKE_OVER(call) static_cast<void>(0)
#endif

namespace quill::freedesktop {
namespace {

struct Call {
  std::shared_ptr<GlibMainQueue::MainThreadTracker> mainThread;
  std::function<void()> call;
  gboolean afterwards;  // G_SOURCE_CONTINUE or G_SOURCE_REMOVE
};

/// A source of default priority that makes `call` when its ready time has passed or one of its descriptors is ready.
SourceHandle attachSource(GlibMainQueue& queue, gint64 readyTime, gboolean afterwards, std::function<void()> call) {
  static constinit GSourceFuncs functions = {
      nullptr, nullptr, [](GSource*, GSourceFunc callback, gpointer data) { return callback(data); },
      nullptr, nullptr, nullptr};
  SourceHandle source(g_source_new(&functions, sizeof(GSource)));
  auto owned = std::make_unique<Call>(Call{queue.mainThread(), std::move(call), afterwards});
  QUILL_HAND_OVER(owned.get());
  g_source_set_callback(
      source.get(),
      [](gpointer data) -> gboolean {
        if (isForkedChild()) return G_SOURCE_REMOVE;
        QUILL_TAKE_OVER(data);
        const auto& self = *static_cast<Call*>(data);
        self.mainThread->recordDispatch();
        completes(self.call);
        return self.afterwards;
      },
      owned.release(),
      [](gpointer data) {
        std::unique_ptr<Call> ended(static_cast<Call*>(data));
        if (isForkedChild()) static_cast<void>(ended.release());  // what it holds is the parent's
      });
  g_source_set_ready_time(source.get(), readyTime);
  g_source_attach(source.get(), nullptr);
  return source;
}

/// Collects the work that the calling thread posts during its lifetime. A main loop that runs inside is excluded.
class PostBatch {
 public:
  PostBatch() : outer_(std::exchange(current_, this)) {}
  PostBatch(const PostBatch&) = delete;
  PostBatch& operator=(const PostBatch&) = delete;
  ~PostBatch() { current_ = outer_; }

  /// Null if nothing is collected.
  static PostBatch* here() { return current_ != nullptr && current_->depth_ == g_main_depth() ? current_ : nullptr; }
  std::vector<std::function<void()>> work;

 private:
  static inline thread_local PostBatch* current_ = nullptr;
  PostBatch* outer_;
  int depth_ = g_main_depth();
};

/// Runs work that a tick posts right after the tick, because another iteration of the main context would cost more than
/// the frame itself.
void runTick(const std::function<void()>& tick) {
  std::vector<std::function<void()>> posted;
  {
    PostBatch batch;
    tick();
    posted.swap(batch.work);
  }
  for (const auto& work : posted) work();
}

/// Driven by a kernel timer, because the main context waits for whole milliseconds. The main context drives it if the
/// process has no spare descriptor.
class RepeatingTimer : public Timer {
 public:
  RepeatingTimer(GlibMainQueue& queue, std::chrono::nanoseconds period, std::function<void()> tick)
      : start_(monotonicNow()), period_(period), file_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    source_ = attachSource(queue, kNever, G_SOURCE_CONTINUE, [this, tick = std::move(tick)] {
      std::uint64_t ticks = 0;  // more than one if some were missed
      if (!file_.isOpen()) {
        setNextDue();
      } else if (read(file_.number(), &ticks, sizeof ticks) <= 0) {
        return;
      }
      runTick(tick);  // may end this timer
    });
    g_source_set_can_recurse(source_.get(), TRUE);  // as for the bus
    if (file_.isOpen()) {
      const itimerspec setting{timespecOf(period), timespecOf(period)};
      timerfd_settime(file_.number(), 0, &setting, nullptr);
      g_source_add_unix_fd(source_.get(), file_.number(), G_IO_IN);
    } else {
      setNextDue();
    }
  }

  void invalidate() override { source_.reset(); }

 private:
  static timespec timespecOf(std::chrono::nanoseconds duration) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(duration);
    return {static_cast<time_t>(seconds.count()), static_cast<long>((duration - seconds).count())};
  }
  void setNextDue() {
    const auto due = nextDue(start_, period_, monotonicNow());
    g_source_set_ready_time(source_.get(), std::chrono::ceil<std::chrono::microseconds>(due).count());
  }

  const std::chrono::nanoseconds start_;
  const std::chrono::nanoseconds period_;
  posix::FileDescriptor file_;
  SourceHandle source_;
};

}  // namespace

bool GlibMainQueue::isContextFree() const {
  auto* const context = g_main_context_default();
  // The attempt itself keeps other threads out for a moment. Therefore only one thread makes it at a time.
  const std::lock_guard lock(trial_);
  if (g_main_context_acquire(context) == FALSE) return false;
  g_main_context_release(context);
  return true;
}

bool GlibMainQueue::isCurrent() const {
  if (g_main_context_is_owner(g_main_context_default()) != FALSE) return true;
  return mainThread_->isExpectedHere() && isContextFree();
}

void GlibMainQueue::takeCallerForMainThread() {
  if (isContextFree()) mainThread_->recordDispatch();
}

bool GlibMainQueue::isMainThreadKnown() const { return mainThread_->isKnown() || !isContextFree(); }

GlibMainQueue::MainThreadTracker::Thread GlibMainQueue::MainThreadTracker::callingThread() {
  static std::atomic<std::uint32_t> latest{0};
  // Cached, because gettid() is a system call.
  thread_local const Thread self{++latest, gettid()};
  return self;
}

bool GlibMainQueue::MainThreadTracker::isKnown() const {
  const auto last = last_.load(std::memory_order_relaxed);
  return last.number != 0 && syscall(SYS_tgkill, getpid(), last.id, 0) == 0;
}

bool GlibMainQueue::MainThreadTracker::isExpectedHere() const {
  if (last_.load(std::memory_order_relaxed).number == callingThread().number) return true;
  return !isKnown() && gettid() == getpid();
}

void GlibMainQueue::post(std::function<void()> work) {
  if (isForkedChild()) return;
  if (auto* const batch = PostBatch::here()) {
    batch->work.push_back(std::move(work));
    return;
  }
  // The context holds the source until it has run. Therefore only the reference is released here.
  g_source_unref(attachSource(*this, 0, G_SOURCE_REMOVE, std::move(work)).release());
}

std::unique_ptr<Timer> GlibMainQueue::repeat(std::chrono::nanoseconds period, std::function<void()> tick) {
  return std::make_unique<RepeatingTimer>(*this, period, std::move(tick));
}

OneShotTimer::OneShotTimer(GlibMainQueue& queue, std::function<void()> call) {
  source_ = attachSource(queue, kNever, G_SOURCE_CONTINUE, [this, call = std::move(call)] {
    cancel();
    call();  // may end this timer
  });
}

void OneShotTimer::setDueIn(std::chrono::nanoseconds delay) {
  const auto due = monotonicNow() + delay;
  g_source_set_ready_time(source_.get(), std::chrono::ceil<std::chrono::microseconds>(due).count());
}

void OneShotTimer::cancel() { g_source_set_ready_time(source_.get(), kNever); }

SourceHandle callWhenReadable(GlibMainQueue& queue, int descriptor, std::function<void()> call) {
  auto source = attachSource(queue, kNever, G_SOURCE_REMOVE, std::move(call));
  g_source_add_unix_fd(source.get(), descriptor, GIOCondition(G_IO_IN | G_IO_HUP | G_IO_ERR));
  return source;
}

std::chrono::nanoseconds monotonicNow() { return std::chrono::steady_clock::now().time_since_epoch(); }

}  // namespace quill::freedesktop
