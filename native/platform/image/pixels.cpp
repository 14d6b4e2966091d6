#include "pixels.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "page_memory.h"

namespace quill {

std::shared_ptr<Pixels> makePixels(std::int64_t width, std::int64_t height) {
  if (std::min(width, height) < 1 || std::max(width, height) > kMaxSide) return nullptr;
  return std::make_shared<Pixels>(
      static_cast<int>(width), static_cast<int>(height),
      std::pmr::vector<std::uint8_t>(static_cast<std::size_t>(width * height) * 4, posix::pageMemory()));
}

std::optional<Image> imageOf(std::shared_ptr<const Pixels> pixels) {
  if (!pixels) return std::nullopt;
  const Size size{static_cast<double>(pixels->width), static_cast<double>(pixels->height)};
  return Image(std::move(pixels), size);
}

void putUpright(Pixels& pixels, unsigned orientation) {
  if (orientation < 2 || orientation > 8) return;
  const bool isTransposed = orientation >= 5;
  const bool isFromRight = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
  const bool isFromBottom = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;

  Pixels upright(pixels.width, pixels.height, {pixels.rgba, pixels.rgba.get_allocator()});
  if (isTransposed) std::swap(upright.width, upright.height);
  auto* to = upright.rgba.data();
  for (int row = 0; row < upright.height; ++row) {
    for (int column = 0; column < upright.width; ++column, to += 4) {
      int x = isTransposed ? row : column;
      int y = isTransposed ? column : row;
      if (isFromRight) x = pixels.width - 1 - x;
      if (isFromBottom) y = pixels.height - 1 - y;
      std::memcpy(to, rowOf(pixels, y) + static_cast<std::ptrdiff_t>(x) * 4, 4);
    }
  }
  pixels = std::move(upright);
}

void unpremultiply(Pixels& pixels) {
  auto& rgba = pixels.rgba;
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    const unsigned alpha = rgba[i + 3];
    if (alpha == 0 || alpha == 255) continue;
    for (std::size_t channel = i; channel < i + 3; ++channel) {
      rgba[channel] = static_cast<std::uint8_t>(std::min(255U, (rgba[channel] * 255U + alpha / 2) / alpha));
    }
  }
}

}  // namespace quill
