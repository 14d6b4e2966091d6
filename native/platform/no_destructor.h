#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>

namespace quill {

/// Held while an object of the whole process is made. A fork waits for it, so that a child never
/// finds such an object half made, with no thread left to finish it.
struct FirstUse {
  static inline std::mutex mutex;
};

/// Storage for a static object that outlives every exit handler and static destructor: it is made
/// by its first user and never destroyed, and stays reachable for leak checkers. Any thread.
template <typename Object>
class NoDestructor {
 public:
  constexpr NoDestructor() = default;
  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;

  /// `make` runs for the first caller only, and must not use another object that is not made yet.
  template <typename Make>
  Object& get(Make make) {
    if (auto* const object = object_.load(std::memory_order_acquire)) return *object;
    const std::lock_guard lock(FirstUse::mutex);
    if (object_.load(std::memory_order_relaxed) == nullptr) {
      object_.store(::new (static_cast<void*>(storage_)) Object(make()), std::memory_order_release);
    }
    return *object_.load(std::memory_order_relaxed);
  }

 private:
  alignas(Object) std::byte storage_[sizeof(Object)]{};
  std::atomic<Object*> object_{nullptr};
};

}  // namespace quill
