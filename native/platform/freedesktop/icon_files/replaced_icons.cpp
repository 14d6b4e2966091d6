#include "replaced_icons.h"

#include <utility>

namespace quill::freedesktop {

ReplacedIcons::ReplacedIcons(GlibMainQueue& queue) : timer_(queue, [this] { dropDue(); }) {}

void ReplacedIcons::keep(std::shared_ptr<const IconFile> file) {
  if (!file) return;
  if (kept_.size() == kMaxFiles) kept_.pop_front();
  kept_.push_back({monotonicNow() + kTime, std::move(file)});
  if (kept_.size() == 1) timer_.setDue(kept_.front().due);
}

void ReplacedIcons::dropDue() {
  while (!kept_.empty() && kept_.front().due <= monotonicNow()) kept_.pop_front();
  if (!kept_.empty()) timer_.setDue(kept_.front().due);
}

}  // namespace quill::freedesktop
