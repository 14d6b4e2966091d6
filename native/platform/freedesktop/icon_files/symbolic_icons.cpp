#include "symbolic_icons.h"

#include <algorithm>
#include <utility>

#include "symbolic_svg.h"

namespace quill::freedesktop {

void SymbolicIcon::writeTo(const std::shared_ptr<IconFolder>& folder, PanelKind panel) {
  const std::lock_guard lock(mutex_);
  if (folder_.lock() == folder) return;
  folder_ = folder;
  const auto svg = symbolicSvg(shape_, panel);
  file_ = svg.empty() ? nullptr : folder->file(symbolicName(svg), svg);
}

std::shared_ptr<const IconFile> SymbolicIcon::fileIn(const std::shared_ptr<IconFolder>& folder) const {
  const std::lock_guard lock(mutex_);
  return folder_.lock() == folder ? file_ : nullptr;
}

void SymbolicIcons::add(const std::shared_ptr<SymbolicIcon>& icon) {
  if (!owner_.isCurrent()) return;  // in a forked child nobody may be left to unlock it
  const std::lock_guard lock(mutex_);
  if (icons_.size() >= pruneAt_) {
    std::erase_if(icons_, [](const auto& known) { return known.expired(); });
    pruneAt_ = std::max(kFirstPrune, 2 * icons_.size());
  }
  icons_.push_back(icon);
  if (const auto folder = folder_.lock()) icon->writeTo(folder, panel_);
}

std::shared_ptr<IconFolder> SymbolicIcons::open(PanelKind panel) {
  const std::lock_guard lock(mutex_);
  if (isClosed_) return nullptr;
  auto folder = folder_.lock();
  if (folder && panel == panel_) return folder;
  folder = IconFolder::make();
  if (!folder) return nullptr;
  folder_ = folder;
  panel_ = panel;
  for (const auto& known : icons_) {
    if (const auto icon = known.lock()) icon->writeTo(folder, panel_);
  }
  return folder;
}

void SymbolicIcons::close() {
  if (!owner_.isCurrent()) return;
  // A host may exit from inside another call here. What then stays is swept at the next start.
  const std::unique_lock lock(mutex_, std::try_to_lock);
  if (!lock) return;
  isClosed_ = true;
  if (const auto folder = folder_.lock()) folder->remove();
}

void SymbolicIcons::sweepOnce() {
  if (!owner_.isCurrent()) return;
  const std::lock_guard lock(mutex_);
  if (!std::exchange(isSwept_, true)) IconFolder::sweep();
}

}  // namespace quill::freedesktop
