#pragma once

#include <memory>
#include <string_view>

namespace quill {

struct MenuItem;

/// The name of an operation that a platform object sends, such as "handleMenuItemAction:".
/// Points at a string literal. Empty: no action.
using Selector = std::string_view;

/// Something that can be sent an action by name. Main thread.
class Responder {
 public:
  virtual ~Responder() = default;
  /// Runs the operation called `selector`; `sender` is the chosen menu item, or null for a button.
  /// False: there is no operation of that name, and nothing was done.
  virtual bool perform(Selector selector, const MenuItem* sender) = 0;
};

/// Whom to tell, and what. The target is not owned.
struct Action {
  Selector selector;
  std::weak_ptr<Responder> target;

  bool send(const MenuItem* sender) const {
    const auto receiver = target.lock();
    return !selector.empty() && receiver && receiver->perform(selector, sender);
  }
};

}  // namespace quill
