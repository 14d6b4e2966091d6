#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>

namespace quill {

/// Storage for a static object that is made by its first user and never destroyed, so that exit handlers and static
/// destructors may use it. Any thread.
template <typename Object>
class NoDestructor {
 public:
  constexpr NoDestructor() = default;
  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;

  /// `make` runs for the first caller only.
  template <typename Make>
  Object& get(Make make) {
    if (auto* const object = object_.load(std::memory_order_acquire)) return *object;
    const std::lock_guard lock(mutex_);
    if (object_.load(std::memory_order_relaxed) == nullptr) {
      // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): never destroyed
      object_.store(::new (static_cast<void*>(storage_)) Object(make()), std::memory_order_release);
    }
    return *object_.load(std::memory_order_relaxed);
  }

 private:
  alignas(Object) std::byte storage_[sizeof(Object)]{};
  std::atomic<Object*> object_{nullptr};
  std::mutex mutex_;
};

}  // namespace quill
