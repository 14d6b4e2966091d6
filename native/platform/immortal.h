#pragma once

#include <cstddef>
#include <memory>
#include <new>

namespace quill {

/// Storage for an object that must outlive every exit handler and static destructor of the process:
/// it is made once and never destroyed, and stays reachable for leak checkers.
template <typename Object>
class Immortal {
 public:
  template <typename Make>
  explicit Immortal(Make make) : object_(::new (static_cast<void*>(storage_)) Object(make())) {}
  Immortal(const Immortal&) = delete;
  Immortal& operator=(const Immortal&) = delete;

  Object& get() const { return *object_; }

 private:
  alignas(Object) std::byte storage_[sizeof(Object)]{};
  Object* object_;
};

}  // namespace quill
