#include "icon_rendering.h"

#include <utility>

namespace quill::freedesktop {
namespace {

/// More bars are dark than light; the outline keeps the icon readable on the others. The colour scheme is
/// no better guess: it speaks of windows, and there are black bars in light schemes.
constexpr Tone kFill = Tone::light;

std::shared_ptr<SymbolicIcon> symbolicIconOf(Image image) {
  if (!image.isTemplate()) return nullptr;
  image.setRendering(nullptr);
  return std::make_shared<SymbolicIcon>(std::move(image));
}

}  // namespace

IconRendering::IconRendering(const Image& image)
    : symbolic_(symbolicIconOf(image)),
      sizes_(isOfTemplate() ? templateIconPixels(image.pixels(), kFill) : plainIconPixels(image.pixels())) {}

std::shared_ptr<const IconRendering> iconRenderingOf(const Image& image) {
  auto carried = std::dynamic_pointer_cast<const IconRendering>(image.rendering());
  if (carried && carried->isOfTemplate() == image.isTemplate()) return carried;
  return std::make_shared<const IconRendering>(image);
}

}  // namespace quill::freedesktop
