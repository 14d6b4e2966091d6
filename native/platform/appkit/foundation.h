#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <utility>

#include "geometry.h"
#include "tray.h"

namespace quill::appkit {

/// A strong reference to an Objective-C object, or to none. Counted by hand, so that every runtime takes the same
/// source.
template <typename Object>
class Handle {
 public:
  Handle() = default;
  explicit Handle(Object* object) : object_(static_cast<Object*>([object retain])) {}
  /// Takes over the reference that `alloc`, `new` and `copy` hand out.
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

/// From well-formed UTF-8, U+0000 included; lives as long as the pool around the call.
NSString* toNSString(std::string_view text);
/// Empty for nil.
std::string toString(NSString* text);
/// Null for the empty selector.
SEL toSEL(Selector selector);

inline NSRect toNSRect(Rect rect) {
  return NSMakeRect(rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}
inline Rect toRect(NSRect rect) { return {{rect.origin.x, rect.origin.y}, {rect.size.width, rect.size.height}}; }

/// Runs `work` with an autorelease pool of its own. An exception of the platform ends here, as an error line. Every way
/// into this folder goes through it. Any thread.
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
