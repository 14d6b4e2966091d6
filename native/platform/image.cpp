#include "image.h"

#include "description.h"

namespace quill {

std::string Image::description() const {
  auto text = describeObject("Image", picture_.get());
  text.back() = ' ';
  text += std::to_string(picture_->width) + "x" + std::to_string(picture_->height) + " pixels>";
  return text;
}

}  // namespace quill
