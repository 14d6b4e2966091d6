#include "view.h"

#include <algorithm>

namespace quill {

void View::addSubview(std::shared_ptr<View> view, OrderingMode place, const View* sibling) {
  const bool above = place == OrderingMode::above;
  auto at = std::find_if(subviews_.begin(), subviews_.end(), [&](const auto& other) { return other.get() == sibling; });
  if (at == subviews_.end()) {
    at = above ? subviews_.end() : subviews_.begin();
  } else if (above) {
    ++at;
  }
  subviews_.insert(at, std::move(view));
}

}  // namespace quill
