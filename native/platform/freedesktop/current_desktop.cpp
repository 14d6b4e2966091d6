#include <glib.h>

#include <memory>

#include "freedesktop_desktop.h"
#include "no_destructor.h"

namespace quill {

namespace {

/// Removes a desktop's files when the process exits in an orderly way or the library is unloaded.
class FileRemover {
 public:
  explicit FileRemover(freedesktop::Desktop& desktop) : desktop_(desktop) {}
  FileRemover(const FileRemover&) = delete;
  FileRemover& operator=(const FileRemover&) = delete;
  ~FileRemover() { desktop_.removeFiles(); }

 private:
  freedesktop::Desktop& desktop_;
};

/// Up to version 2.74 GLib sets its allocator up at the first use, under a lock that a child forked meanwhile would
/// find locked for ever. So the library has it set up when it is loaded.
[[gnu::constructor]] void setUpAllocator() {
  constexpr gsize kSize = 64;
  g_slice_free1(kSize, g_slice_alloc(kSize));
}

}  // namespace

Desktop& Desktop::current() {
  static constinit NoDestructor<std::unique_ptr<freedesktop::Desktop>> desktop;
  return *desktop.get([] {
    auto made = std::make_unique<freedesktop::Desktop>();
    static const FileRemover remover(*made);  // made here, where a fork waits until it is done
    return made;
  });
}

}  // namespace quill
