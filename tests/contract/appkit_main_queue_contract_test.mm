#import <Foundation/Foundation.h>
#include <gmock/gmock.h>

#include <thread>

#include "appkit_desktop.h"

namespace quill {
namespace {

struct OnAppKit {
  appkit::Desktop desktop;

  std::chrono::nanoseconds now() { return std::chrono::steady_clock::now().time_since_epoch(); }
  void stall(std::chrono::nanoseconds duration) { std::this_thread::sleep_for(duration); }
  bool runUntil(const std::function<bool()>& done) {
    const auto deadline = now() + std::chrono::seconds(10);
    while (!done() && now() < deadline) {
      @autoreleasepool {
        [[NSRunLoop mainRunLoop] runMode:NSDefaultRunLoopMode beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.001]];
      }
    }
    return done();
  }
};
using Drivers = ::testing::Types<OnAppKit>;

}  // namespace
}  // namespace quill

#include "main_queue_contract.h"
