#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "geometry.h"

namespace quill {

/// Decoded pixels: rows from the top, 4 bytes a pixel (red, green, blue, alpha), alpha not
/// premultiplied; `rgba` holds width × height × 4 bytes.
struct Pixels {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgba;
};

/// What a desktop made of an image in order to show it, kept with the image so that it is made once.
class ImageRendering {
 public:
  virtual ~ImageRendering() = default;
};

/// A cheap value: copies share the pixels, while size and template flag belong to each copy.
class Image {
 public:
  /// `pixels` must not be null; `size` is the drawing size in points.
  Image(std::shared_ptr<const Pixels> pixels, Size size) : pixels_(std::move(pixels)), size_(size) {}

  const Pixels& pixels() const { return *pixels_; }
  Size size() const { return size_; }
  void setSize(Size size) { size_ = size; }
  bool isTemplate() const { return isTemplate_; }
  void setTemplate(bool isTemplate) { isTemplate_ = isTemplate; }

  /// Null until a desktop prepared the image (Desktop::prepare).
  const std::shared_ptr<const ImageRendering>& rendering() const { return rendering_; }
  void setRendering(std::shared_ptr<const ImageRendering> rendering) { rendering_ = std::move(rendering); }

  /// Whether both show the same pixels in the same way; pixels are compared by identity.
  bool operator==(const Image& other) const = default;

  std::string description() const;

 private:
  std::shared_ptr<const Pixels> pixels_;
  Size size_;
  bool isTemplate_ = false;
  std::shared_ptr<const ImageRendering> rendering_;
};

}  // namespace quill
