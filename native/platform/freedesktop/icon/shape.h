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

/// The sides of the square icons that a panel is given, in pixels.
constexpr int kSmallSide = 22;
constexpr int kLargeSide = 44;

/// Kept free on each side for the outline, in 22nds of the icon. Less than the outline's width: where a shape needs all
/// the room, only the rim is cut.
constexpr int kOutlineMargin = 2;

/// Empty for pixels that hold no picture. Pure, as all of these.
Shape shapeOf(const Pixels& source);

/// Enough of a shape for `shapeCoverage` to give the same again, in at most 16 KiB.
Shape keptOf(Shape shape);

/// The larger side for a shape with more than 22 pixels to show, else the smaller one.
int largestSide(const Shape& shape);

/// How much of each pixel of a square of the shape's largest side is covered, 0 to 255, rows from the
/// top; the strongest is as strong as the source's, and 170 at least. Aspect ratio kept, centred. Empty for an empty
/// shape.
std::vector<std::uint8_t> shapeCoverage(const Shape& shape);

/// The same with the margin kept free on each side for an outline, in each size up to the largest: a shape that reaches
/// into that margin is shrunk about the centre.
struct FramedCoverage {
  std::vector<std::uint8_t> small;
  std::vector<std::uint8_t> large;  ///< empty where there is no more than 22 pixels to show
};
FramedCoverage framedCoverage(const Shape& shape);

}  // namespace quill::freedesktop
