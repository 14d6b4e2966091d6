#pragma once

#import <Foundation/Foundation.h>

#include "nsstring.h"
#include "tray.h"

namespace quill::appkit {

/// Runs `work` with an autorelease pool of its own. An exception of the platform ends here, as an error line. Every way
/// into this folder goes through it. Any thread.
template <typename Work>
void guarded(Work work) {
  @autoreleasepool {
    @try {
      work();
    } @catch (NSException* exception) {
      reportFault(toString([exception name]) + ": " + toString([exception reason]));
    }
  }
}

}  // namespace quill::appkit
