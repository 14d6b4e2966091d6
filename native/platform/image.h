#pragma once

#include <cstdint>
#include <memory>
#include <memory_resource>
#include <string>
#include <utility>
#include <vector>

#include "geometry.h"

namespace quill {

/// A decoded picture, in whatever form a desktop keeps it. Not changed once an image holds it.
struct Picture {
  virtual ~Picture() = default;

  // The size of the picture as it was decoded, in pixels, whatever is kept of it.
  int width = 0;
  int height = 0;
};

/// The form that decoders give: rows from the top, 4 bytes a pixel (red, green, blue, alpha), alpha not
/// premultiplied; `rgba` holds width × height × 4 bytes.
struct Pixels : Picture {
  Pixels() = default;
  Pixels(int pixelsWide, int pixelsHigh, std::pmr::vector<std::uint8_t> bytes) : rgba(std::move(bytes)) {
    width = pixelsWide;
    height = pixelsHigh;
  }

  std::pmr::vector<std::uint8_t> rgba;
};

/// A cheap value: copies share the picture, while size and template flag belong to each copy.
class Image {
 public:
  /// `picture` must not be null; `size` is the drawing size in points.
  Image(std::shared_ptr<const Picture> picture, Size size) : picture_(std::move(picture)), size_(size) {}

  const std::shared_ptr<const Picture>& picture() const { return picture_; }
  /// Puts the same picture in another form, for this copy alone.
  void setPicture(std::shared_ptr<const Picture> picture) { picture_ = std::move(picture); }
  /// The picture where it has the form that decoders give, else null.
  const Pixels* pixels() const { return dynamic_cast<const Pixels*>(picture_.get()); }

  Size size() const { return size_; }
  void setSize(Size size) { size_ = size; }
  bool isTemplate() const { return isTemplate_; }
  void setTemplate(bool isTemplate) { isTemplate_ = isTemplate; }

  /// Whether both show the same picture in the same way; pictures are compared by identity.
  bool operator==(const Image& other) const = default;

  std::string description() const;

 private:
  std::shared_ptr<const Picture> picture_;
  Size size_;
  bool isTemplate_ = false;
};

}  // namespace quill
