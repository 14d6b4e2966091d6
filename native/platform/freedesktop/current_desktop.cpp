#include <memory>

#include "freedesktop_desktop.h"
#include "no_destructor.h"

namespace quill {

namespace {

struct FileRemoval {
  void operator()(freedesktop::Desktop* desktop) const { desktop->removeFiles(); }
};

}  // namespace

Desktop& Desktop::current() {
  static constinit NoDestructor<std::unique_ptr<freedesktop::Desktop>> desktop;
  return *desktop.get([] {
    auto made = std::make_unique<freedesktop::Desktop>();
    // When the process exits in an orderly way.
    static const std::unique_ptr<freedesktop::Desktop, FileRemoval> removal(made.get());
    return made;
  });
}

}  // namespace quill
