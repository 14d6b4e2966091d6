#include "pictures.h"

#include <string>

#include "icon_rendering.h"
#include "require.h"
#include "symbolic_svg.h"

namespace quill::fuzz {
namespace {

void requireSquares(const std::vector<freedesktop::IconPixels>& sizes) {
  require(!sizes.empty() && sizes.size() <= 2);
  for (const auto& pixels : sizes) {
    require(pixels.width == pixels.height && (pixels.width == 22 || pixels.width == 44));
    require(pixels.argb.size() == static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height) * 4);
  }
}

}  // namespace

void showEverywhere(const Image& image) {
  const auto& pixels = *image.pixels();
  require(pixels.width > 0 && pixels.height > 0);
  require(pixels.rgba.size() == static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height) * 4);
  requireSquares(freedesktop::iconRenderingOf(image)->sizes());
  const auto svg = freedesktop::symbolicSvg(freedesktop::reduced(freedesktop::shapeOf(pixels)),
                                            {.icon = freedesktop::IconForm::symbolicWithOutline});
  require(svg.empty() || (svg.starts_with("<svg ") && svg.ends_with("</svg>\n")));
  require(svg.size() < 64 * 1024);
}

}  // namespace quill::fuzz
