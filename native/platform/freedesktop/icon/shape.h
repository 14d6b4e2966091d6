#pragma once

#include <cstdint>
#include <memory_resource>
#include <vector>

#include "image.h"

namespace quill::freedesktop {

/// A picture's opacities, which are all that counts of a template: rows from the top, a byte a pixel.
struct Shape {
  int width = 0;
  int height = 0;
  std::pmr::vector<std::uint8_t> alpha;
};

/// The sides of the square icons that a panel gets, in pixels.
constexpr int kSmallSide = 22;
constexpr int kLargeSide = 44;

/// Empty for pixels that hold no picture. Pure, as all of these.
Shape shapeOf(const Pixels& source);

/// The shape itself, or of a large one enough for `shapeCoverage` to return the same. At most 16 KiB.
Shape reduced(Shape shape);

/// How much of each pixel of a square is covered, 0 to 255, rows from the top.
using Coverage = std::vector<std::uint8_t>;

/// Fits the shape into a square of 44 pixels, centred, with its aspect ratio. The strongest pixel is as strong as the
/// source's, and at least 197. Empty for an empty shape.
Coverage shapeCoverage(const Shape& shape);

/// The same in both sizes, with room for an outline. A shape that comes nearer to the edge than 1.5 of 22 pixels is
/// shrunk about the centre.
struct CoverageWithMargin {
  Coverage small;
  Coverage large;
};
CoverageWithMargin coverageWithMargin(const Shape& shape);

}  // namespace quill::freedesktop
