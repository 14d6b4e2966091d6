#pragma once

#include <cstdint>
#include <vector>

#include "shape.h"

namespace quill::freedesktop {

/// A square picture as panels read it: rows from the top, 4 bytes a pixel in the order alpha, red,
/// green, blue; alpha not premultiplied.
struct IconPixels {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> argb;

  bool operator==(const IconPixels&) const = default;
};

/// The shape in two tones that can be seen in a bar of any colour: filled in white, with a black
/// outline. 22 pixels wide, and 44 where the shape has more than 22 to show; none for an empty shape.
/// Pure.
std::vector<IconPixels> templateIconPixels(const Shape& shape);

}  // namespace quill::freedesktop
