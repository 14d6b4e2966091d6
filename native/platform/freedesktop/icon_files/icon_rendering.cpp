#include "icon_rendering.h"

#include <utility>

namespace quill::freedesktop {

IconRendering::IconRendering(const Pixels& source) {
  width = source.width;
  height = source.height;
  auto shape = shapeOf(source);
  sizes_ = twoToneIcon(shape);
  shape_ = reduced(std::move(shape));
}

std::shared_ptr<const IconRendering> iconRenderingOf(const Image& image) {
  if (auto rendering = std::dynamic_pointer_cast<const IconRendering>(image.picture())) return rendering;
  const auto* const pixels = image.pixels();
  return pixels != nullptr ? std::make_shared<const IconRendering>(*pixels) : nullptr;
}

}  // namespace quill::freedesktop
