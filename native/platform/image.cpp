#include "image.h"

#include "description.h"

namespace quill {

std::string Image::description() const {
  auto text = describeObject("Image", pixels_.get());
  text.back() = ' ';
  text += std::to_string(pixels_->width) + "x" + std::to_string(pixels_->height) + " pixels>";
  return text;
}

}  // namespace quill
