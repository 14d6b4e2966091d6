#include "page_memory.h"

#include <sys/mman.h>

#include <new>

#include "no_destructor.h"

namespace quill::posix {
namespace {

constexpr std::size_t kMinMappedSize = 64U << 10U;

class PageMemory : public std::pmr::memory_resource {
 private:
  void* do_allocate(std::size_t size, std::size_t alignment) override {
    if (size < kMinMappedSize) return std::pmr::new_delete_resource()->allocate(size, alignment);
    void* const pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    return pages;
  }
  void do_deallocate(void* memory, std::size_t size, std::size_t alignment) override {
    if (size < kMinMappedSize) {
      std::pmr::new_delete_resource()->deallocate(memory, size, alignment);
    } else {
      munmap(memory, size);
    }
  }
  bool do_is_equal(const memory_resource& other) const noexcept override { return this == &other; }
};

}  // namespace

std::pmr::memory_resource* pageMemory() {
  static NoDestructor<PageMemory> memory;
  return &memory.get();
}

}  // namespace quill::posix
