#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace quill {

/// Holds a function's static object and never destroys it, so that exit handlers and static destructors may use it.
template <typename Object>
class NoDestructor {
 public:
  template <typename... Arguments>
  explicit NoDestructor(Arguments&&... arguments) {
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): never destroyed
    ::new (static_cast<void*>(storage_)) Object(std::forward<Arguments>(arguments)...);
  }
  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;

  Object& get() { return *std::launder(reinterpret_cast<Object*>(storage_)); }

 private:
  alignas(Object) std::byte storage_[sizeof(Object)]{};
};

}  // namespace quill
