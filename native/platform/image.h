#pragma once

#include <cstdint>
#include <memory>
#include <memory_resource>
#include <string>
#include <utility>
#include <vector>

#include "description.h"
#include "geometry.h"

namespace quill {

/// A decoded picture in the form that a desktop keeps. Immutable as soon as an image holds it.
struct Picture {
  virtual ~Picture() = default;

  // Size in pixels as decoded; a desktop may keep fewer.
  int width = 0;
  int height = 0;
};

/// A picture as decoders return it: rows from the top, 4 bytes a pixel (red, green, blue, alpha; not premultiplied).
struct Pixels : Picture {
  Pixels() = default;
  Pixels(int pixelsWide, int pixelsHigh, std::pmr::vector<std::uint8_t> bytes) : rgba(std::move(bytes)) {
    width = pixelsWide;
    height = pixelsHigh;
  }

  std::pmr::vector<std::uint8_t> rgba;  ///< width × height × 4 bytes
};

/// A cheap value. Copies share the picture; each copy has its own size and template flag.
class Image {
 public:
  /// `picture` must not be null; `size` is the drawing size in points.
  Image(std::shared_ptr<const Picture> picture, Size size) : picture_(std::move(picture)), size_(size) {}

  const std::shared_ptr<const Picture>& picture() const { return picture_; }
  /// Replaces this copy's picture by another form of the same picture.
  void setPicture(std::shared_ptr<const Picture> picture) { picture_ = std::move(picture); }
  /// The picture as decoded; null once a desktop has replaced it.
  const Pixels* pixels() const { return dynamic_cast<const Pixels*>(picture_.get()); }

  Size size() const { return size_; }
  void setSize(Size size) { size_ = size; }
  bool isTemplate() const { return isTemplate_; }
  void setTemplate(bool isTemplate) { isTemplate_ = isTemplate; }

  /// Whether both show the same picture in the same way; pictures are compared by identity.
  bool operator==(const Image& other) const = default;

  std::string description() const {
    const auto pixels = std::to_string(picture_->width) + "x" + std::to_string(picture_->height);
    return describeObject("Image", picture_.get(), " " + pixels + " pixels");
  }

 private:
  std::shared_ptr<const Picture> picture_;
  Size size_;
  bool isTemplate_ = false;
};

}  // namespace quill
