#include "main_loop.h"

namespace quill::tests {

struct OnAppKit {
  appkit::MainQueue queue;

  OnAppKit() { standin::install(); }

  bool runUntil(const std::function<bool()>& done) { return quill::runUntil(done); }
};
using Drivers = Types<OnAppKit>;

}  // namespace quill::tests

#include "desktop_contract.h"
