#include <glib.h>

#include <memory>

#include "freedesktop_desktop.h"
#include "no_destructor.h"

namespace quill {

namespace {

struct FileRemoval {
  void operator()(freedesktop::Desktop* desktop) const { desktop->removeFiles(); }
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
    // When the process exits in an orderly way or the library is unloaded. Set up here, which a fork waits for.
    static const std::unique_ptr<freedesktop::Desktop, FileRemoval> removal(made.get());
    return made;
  });
}

}  // namespace quill
