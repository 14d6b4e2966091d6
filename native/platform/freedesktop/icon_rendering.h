#pragma once

#include <memory>
#include <vector>

#include "icon_pixels.h"
#include "image.h"
#include "symbolic_icons.h"

namespace quill::freedesktop {

/// An image as panels read it.
class IconRendering : public ImageRendering {
 public:
  explicit IconRendering(const Image& image);

  /// From the smallest to the largest.
  const std::vector<IconPixels>& sizes() const { return sizes_; }
  bool isOfTemplate() const { return symbolic_ != nullptr; }
  /// A template's other form; null for other images.
  const std::shared_ptr<SymbolicIcon>& symbolic() const { return symbolic_; }
  /// Whether nobody could tell the two apart in a bar.
  bool looksLike(const IconRendering& other) const {
    return isOfTemplate() == other.isOfTemplate() && sizes_ == other.sizes_;
  }

 private:
  std::shared_ptr<SymbolicIcon> symbolic_;
  std::vector<IconPixels> sizes_;
};

/// The rendering that `image` carries, or else one made now. Any thread.
std::shared_ptr<const IconRendering> iconRenderingOf(const Image& image);

}  // namespace quill::freedesktop
