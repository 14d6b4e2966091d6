#include <memory>

#include "freedesktop_desktop.h"
#include "immortal.h"

namespace quill {

Desktop& Desktop::current() {
  static const Immortal<std::unique_ptr<freedesktop::Desktop>> desktop(
      [] { return std::make_unique<freedesktop::Desktop>(); });
  return *desktop.get();
}

}  // namespace quill
