#pragma once

#include <memory>
#include <vector>

#include "image.h"
#include "shape.h"
#include "two_tone_icon.h"

namespace quill::freedesktop {

/// A template's picture in the forms that panels read, and in no other.
class IconRendering : public Picture {
 public:
  explicit IconRendering(const Pixels& source);

  /// From the smallest to the largest.
  const std::vector<IconPixels>& sizes() const { return sizes_; }
  /// For panels that paint the icon in their own colour.
  const Shape& shape() const { return shape_; }
  /// Whether both have the same pixels.
  bool hasSamePixels(const IconRendering& other) const { return sizes_ == other.sizes_; }

 private:
  std::vector<IconPixels> sizes_;
  Shape shape_;
};

/// The rendering that `image` holds, or else one made now of its pixels; null where it has neither. Any thread.
std::shared_ptr<const IconRendering> iconRenderingOf(const Image& image);

}  // namespace quill::freedesktop
