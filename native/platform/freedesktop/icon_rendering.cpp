#include "icon_rendering.h"

namespace quill::freedesktop {
namespace {

/// More bars are dark than light; the outline keeps the icon readable on the others.
constexpr Tone kFill = Tone::light;

}  // namespace

IconRendering::IconRendering(const Image& image)
    : isOfTemplate_(image.isTemplate()),
      sizes_(isOfTemplate_ ? templateIconPixels(image.pixels(), kFill) : plainIconPixels(image.pixels())) {}

std::shared_ptr<const IconRendering> iconRenderingOf(const Image& image) {
  auto carried = std::dynamic_pointer_cast<const IconRendering>(image.rendering());
  if (carried && carried->isOfTemplate() == image.isTemplate()) return carried;
  return std::make_shared<const IconRendering>(image);
}

}  // namespace quill::freedesktop
