#pragma once

#include <cstdint>
#include <vector>

#include "shape.h"

namespace quill::freedesktop {

/// A square picture as panels read it: rows from the top, 4 bytes a pixel in the order alpha, red, green, blue. Alpha
/// is not premultiplied.
struct IconPixels {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> argb;

  bool operator==(const IconPixels&) const = default;
};

/// Paints the shape in two tones that are visible on a bar of any colour: a white fill over a soft black outline.
/// Returns pictures of 22 and 44 pixels, or none for an empty shape. Pure.
std::vector<IconPixels> twoToneIcon(const Shape& shape);

/// The same pixels with a black fill over a white outline. Pure.
std::vector<std::uint8_t> inOtherTone(std::vector<std::uint8_t> argb);

}  // namespace quill::freedesktop
