#include <memory>

#include "freedesktop_desktop.h"
#include "immortal.h"

namespace quill {

namespace {

/// What outlives a process is its files; they go when it exits in an orderly way, or the library is unloaded.
class Farewell {
 public:
  explicit Farewell(freedesktop::Desktop& desktop) : desktop_(desktop) {}
  Farewell(const Farewell&) = delete;
  Farewell& operator=(const Farewell&) = delete;
  ~Farewell() { desktop_.removeFiles(); }

 private:
  freedesktop::Desktop& desktop_;
};

}  // namespace

Desktop& Desktop::current() {
  static const Immortal<std::unique_ptr<freedesktop::Desktop>> desktop(
      [] { return std::make_unique<freedesktop::Desktop>(); });
  static const Farewell farewell(*desktop.get());
  return *desktop.get();
}

}  // namespace quill
