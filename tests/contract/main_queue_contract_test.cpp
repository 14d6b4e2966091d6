#include <gmock/gmock.h>

#include <thread>

#include "freedesktop_desktop.h"
#include "memory_desktop.h"

namespace quill {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr milliseconds kDeadline{10'000};

struct OnMemory {
  memory::Desktop desktop;

  nanoseconds now() { return desktop.mainQueue().now(); }
  void stall(nanoseconds duration) { desktop.mainQueue().stall(duration); }
  bool runUntil(const std::function<bool()>& done) {
    const auto deadline = now() + kDeadline;
    while (!done() && now() < deadline) {
      if (!desktop.mainQueue().waitAndRunOne(milliseconds(1))) desktop.mainQueue().advance(milliseconds(1));
    }
    return done();
  }
};

struct OnFreedesktop {
  freedesktop::Desktop desktop;

  nanoseconds now() { return freedesktop::monotonicNow(); }
  void stall(nanoseconds duration) { std::this_thread::sleep_for(duration); }
  bool runUntil(const std::function<bool()>& done) {
    // A condition that another thread makes true wakes nobody.
    const auto look = desktop.mainQueue().repeat(milliseconds(1), [] {});
    const auto deadline = now() + kDeadline;
    while (!done() && now() < deadline) g_main_context_iteration(nullptr, TRUE);
    return done();
  }
};

using Drivers = ::testing::Types<OnMemory, OnFreedesktop>;

}  // namespace
}  // namespace quill

#include "main_queue_contract.h"
