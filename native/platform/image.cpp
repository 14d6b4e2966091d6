#include "image.h"

#include "description.h"

namespace quill {

std::string Pixels::description() const {
  auto text = describeObject("Image", this);
  text.back() = ' ';
  text += std::to_string(width) + "x" + std::to_string(height) + " pixels>";
  return text;
}

}  // namespace quill
