#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "icon_folder.h"
#include "owner_process.h"
#include "panel_kind.h"
#include "shape.h"

namespace quill::freedesktop {

/// A template's shape as a file for panels that recolour it. Any thread.
class SymbolicIcon {
 public:
  explicit SymbolicIcon(Shape shape) : shape_(std::move(shape)) {}

  /// Writes the file in the form for `panel`: once for each folder, also where that fails, so that an animation's tick
  /// tries nothing again.
  void writeTo(const std::shared_ptr<IconFolder>& folder, PanelKind panel);
  /// Its file in `folder`; null where it is not there.
  std::shared_ptr<const IconFile> fileIn(const std::shared_ptr<IconFolder>& folder) const;

 private:
  const Shape shape_;
  mutable std::mutex mutex_;  // guards what follows
  std::weak_ptr<IconFolder> folder_;
  std::shared_ptr<const IconFile> file_;
};

/// The templates in use, and the folder with their files while a panel reads it. Any thread.
class SymbolicIcons {
 public:
  /// Writes the icon's file if there is a folder; else open() does.
  void add(const std::shared_ptr<SymbolicIcon>& icon);
  /// The folder with all icons in the form for `panel`; it stays as long as somebody holds it. Null where none can be
  /// made.
  std::shared_ptr<IconFolder> open(PanelKind panel);
  /// Removes the folder for good, as the process ends.
  void close();
  /// Removes what killed processes left behind; does so the first time only.
  void sweepOnce();

 private:
  posix::OwnerProcess owner_;
  std::mutex mutex_;  // guards what follows
  bool isSwept_ = false;
  bool isClosed_ = false;
  std::weak_ptr<IconFolder> folder_;
  PanelKind panel_ = PanelKind::other;  // whose form the files have
  std::vector<std::weak_ptr<SymbolicIcon>> icons_;
  static constexpr std::size_t kFirstPrune = 64;
  std::size_t pruneAt_ = kFirstPrune;  // at this size, icons_ loses those that are gone
};

}  // namespace quill::freedesktop
