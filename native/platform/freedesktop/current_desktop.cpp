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
  static NoDestructor<freedesktop::Desktop> desktop;
  // When the process exits in an orderly way.
  static const std::unique_ptr<freedesktop::Desktop, FileRemoval> removal(&desktop.get());
  return desktop.get();
}

}  // namespace quill
