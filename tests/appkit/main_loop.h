#pragma once

#include "appkit_desktop.h"
#include "testing.h"

namespace quill {

/// Runs the application's loop until `done`; false: the deadline came first.
inline bool runUntil(const std::function<bool()>& done, NSString* mode = NSDefaultRunLoopMode) {
  const auto deadline = std::chrono::steady_clock::now() + 15s;
  while (!done() && std::chrono::steady_clock::now() < deadline) {
    @autoreleasepool {
      [[NSApplication sharedApplication] nextEventMatchingMask:NSAnyEventMask
                                                     untilDate:[NSDate dateWithTimeIntervalSinceNow:0.001]
                                                        inMode:mode
                                                       dequeue:YES];
    }
  }
  return done();
}

/// Until all that was posted so far has been presented.
inline void settle() {
  bool isPast = false;
  appkit::Desktop::current().mainQueue().post([&] { isPast = true; });
  EXPECT_TRUE(runUntil([&] { return isPast; }));
}

}  // namespace quill
