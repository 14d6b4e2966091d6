#pragma once

#include <string_view>

namespace quill {

/// How far shapes can reach, at most: the larger a curve, the more pieces it is drawn in, and there is no clipping
/// before that. All are infinite where numbers are.
struct SvgReach {
  double value = 1.0;      ///< how many times as large as the picture a shape can be
  double roundness = 0.0;  ///< how many round shapes there are, each as often as the picture goes into it
  double scale = 1.0;      ///< of all transforms and inner views, one in the other
};

/// Told from all numbers in the text, wherever they stand; the text is in lower case.
SvgReach svgReach(std::string_view text);

}  // namespace quill
