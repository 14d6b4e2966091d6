#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <utility>

#include "geometry.h"
#include "tray.h"

namespace quill::appkit {

/// A strong reference to an Objective-C object, or to none. It retains and releases by hand, because GNUstep's runtime
/// for GCC has no automatic reference counting.
template <typename Object>
class Handle {
 public:
  Handle() = default;
  explicit Handle(Object* object) : object_(static_cast<Object*>([object retain])) {}
  /// Takes ownership of `object` without retaining it, for a result of `alloc`, `new` or `copy`.
  static Handle adopt(Object* object) {
    Handle adopted;
    adopted.object_ = object;
    return adopted;
  }
  Handle(const Handle& other) : Handle(other.object_) {}
  Handle(Handle&& other) noexcept : object_(std::exchange(other.object_, nil)) {}
  Handle& operator=(Handle other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Handle() { [object_ release]; }

  Object* get() const { return object_; }
  explicit operator bool() const { return object_ != nil; }

 private:
  Object* object_ = nil;
};

/// Converts well-formed UTF-8, which may contain U+0000. The caller's autorelease pool owns the result. Any thread.
NSString* toNSString(std::string_view text);
/// Converts to UTF-8. Returns an empty string for nil. Any thread.
std::string toString(NSString* text);
/// Returns null for the empty selector.
SEL toSEL(Selector selector);

inline NSRect toNSRect(Rect rect) {
  return NSMakeRect(rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}
inline Rect toRect(NSRect rect) { return {{rect.origin.x, rect.origin.y}, {rect.size.width, rect.size.height}}; }

/// Runs `work` with an autorelease pool, and logs an NSException instead of throwing it. The core and the
/// platform call this folder through guarded(), except for MacEnvironment. Any thread.
template <typename Work>
void guarded(Work work) {
  @autoreleasepool {
    @try {
      work();
    } @catch (NSException* exception) {
      logPlatformException(toString([exception name]) + ": " + toString([exception reason]));
    }
  }
}

}  // namespace quill::appkit
