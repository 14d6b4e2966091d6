#pragma once

#include <memory_resource>

namespace quill::posix {

/// Memory pages for large objects that live briefly, such as decoded pictures. Freed pages return to the system at
/// once, while the allocator would keep them. Less than 64 KiB comes from the allocator. Throws std::bad_alloc. Any
/// thread.
std::pmr::memory_resource* pageMemory();

}  // namespace quill::posix
