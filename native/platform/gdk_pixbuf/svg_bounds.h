#pragma once

#include <string_view>

namespace quill {

/// Whether an SVG text can be rendered in a moment. The renderer cannot be stopped once it runs, and
/// a few hundred bytes of nested references keep it busy for minutes; some filters end the process.
/// So only shapes, gradients, small style sheets and a few copies and clips pass: no text, filters,
/// patterns, markers, dashes, embedded images, entities or further files, and no many curves that reach
/// far beyond the picture. Pure.
bool isAffordableSvg(std::string_view text);

}  // namespace quill
