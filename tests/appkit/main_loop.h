#pragma once

#include "appkit_desktop.h"
#include "testing.h"

namespace quill {

/// Runs the application's loop in `mode`, which is one of the common modes, until `done`. Returns false at the
/// deadline.
inline bool runUntil(const std::function<bool()>& done, NSString* mode = NSDefaultRunLoopMode) {
  const auto deadline = std::chrono::steady_clock::now() + 15s;
  while (!done() && std::chrono::steady_clock::now() < deadline) {
    @autoreleasepool {
      // In gnustep-base 1.28 the common modes are a mode of their own, which no other mode includes.
      for (NSString* each in @[ mode, NSRunLoopCommonModes ]) {
        [[NSRunLoop mainRunLoop] runMode:each beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.001]];
      }
    }
  }
  return done();
}

/// Runs the application's loop until the library has presented all changes so far, and until the loop's next turn,
/// which releases old items.
inline void settle() {
  bool isPast = false;
  auto& queue = appkit::Desktop::current().mainQueue();
  queue.post([&] { queue.post([&] { isPast = true; }); });
  EXPECT_TRUE(runUntil([&] { return isPast; }));
}

}  // namespace quill
