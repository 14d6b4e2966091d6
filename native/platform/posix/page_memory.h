#pragma once

#include <memory_resource>

namespace quill::posix {

/// For what is large and soon given up, as a decoded picture is: the system's own pages, which it has
/// back at once. The allocator would keep them, in a host that may never need as much again. Less than
/// 64 KiB comes from the allocator. Memory that cannot be had is std::bad_alloc. Any thread.
std::pmr::memory_resource* pageMemory();

}  // namespace quill::posix
