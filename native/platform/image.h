#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "geometry.h"

namespace quill {

/// A decoded picture, in the form that the desktop's decoder makes. Immutable.
class Picture {
 public:
  virtual ~Picture() = default;
  virtual std::string description() const = 0;
};

/// Decoded pixels: rows from the top, 4 bytes a pixel (red, green, blue, alpha), alpha not
/// premultiplied; `rgba` holds width × height × 4 bytes.
struct Pixels : Picture {
  Pixels() = default;
  Pixels(int wide, int high, std::vector<std::uint8_t> bytes) : width(wide), height(high), rgba(std::move(bytes)) {}
  std::string description() const override;

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
  /// `picture` must not be null; `size` is the drawing size in points.
  Image(std::shared_ptr<const Picture> picture, Size size) : picture_(std::move(picture)), size_(size) {}

  const Picture& picture() const { return *picture_; }
  /// Of an image that is made of pixels.
  const Pixels& pixels() const { return static_cast<const Pixels&>(*picture_); }
  Size size() const { return size_; }
  void setSize(Size size) { size_ = size; }
  bool isTemplate() const { return isTemplate_; }
  void setTemplate(bool isTemplate) { isTemplate_ = isTemplate; }

  /// Null until a desktop prepared the image (Desktop::prepare).
  const std::shared_ptr<const ImageRendering>& rendering() const { return rendering_; }
  void setRendering(std::shared_ptr<const ImageRendering> rendering) { rendering_ = std::move(rendering); }

  /// Whether both show the same picture in the same way; pictures are compared by identity.
  bool operator==(const Image& other) const = default;

  std::string description() const { return picture_->description(); }

 private:
  std::shared_ptr<const Picture> picture_;
  Size size_;
  bool isTemplate_ = false;
  std::shared_ptr<const ImageRendering> rendering_;
};

}  // namespace quill
