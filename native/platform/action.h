#pragma once

#include <memory>
#include <string_view>

namespace quill {

struct MenuItem;

/// The name of an operation, such as "handleMenuItemAction:". A string literal; empty for no action.
using Selector = std::string_view;

/// An object whose operations are called by name. Main thread.
class Responder {
 public:
  virtual ~Responder() = default;
  /// Runs the operation `selector`. `sender` is the chosen menu item, or null for a button. Returns false if the object
  /// has no such operation.
  virtual bool perform(Selector selector, const MenuItem* sender) = 0;
};

/// An operation and the object that performs it. The object is not owned.
struct Action {
  Selector selector;
  std::weak_ptr<Responder> target;

  bool send(const MenuItem* sender) const {
    const auto receiver = target.lock();
    return !selector.empty() && receiver && receiver->perform(selector, sender);
  }
};

}  // namespace quill
