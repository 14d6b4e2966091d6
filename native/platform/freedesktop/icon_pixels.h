#pragma once

#include <cstdint>
#include <vector>

#include "image.h"

namespace quill::freedesktop {

/// A square picture as panels read it: rows from the top, 4 bytes a pixel in the order alpha, red,
/// green, blue; alpha not premultiplied.
struct IconPixels {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> argb;

  bool operator==(const IconPixels&) const = default;
};

enum class Tone { light, dark };

/// The sides of the squares offered for a picture, in pixels: 22, and 44 where the source has more
/// than 22 to show. Empty for pixels that hold no picture.
std::vector<int> iconSides(const Pixels& source);

/// The source in its own colours, once for each of its sides; aspect ratio kept, centred. Pure.
std::vector<IconPixels> plainIconPixels(const Pixels& source);

/// The source's shape in two tones that can be seen in a bar of any colour: the fill in one of white
/// and black, an outline in the other. Its colours don't matter, only its alpha. Pure.
std::vector<IconPixels> templateIconPixels(const Pixels& source, Tone fill);

/// How much of each pixel of a square the source's shape covers, 0 to 255, rows from the top; the
/// strongest is brought up to 255. `margin` pixels stay free on each side: a shape that reaches into
/// them is shrunk about the centre. Pure.
std::vector<std::uint8_t> shapeCoverage(const Pixels& source, int side, int margin);

}  // namespace quill::freedesktop
