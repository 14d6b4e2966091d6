#pragma once

#import <Foundation/Foundation.h>

#include <utility>

namespace quill::appkit {

/// A strong reference to an Objective-C object, or to none. Counted by hand, so that every runtime takes the same source.
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

}  // namespace quill::appkit
