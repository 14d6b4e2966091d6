#pragma once

#include <string>
#include <string_view>

#include "shape.h"

namespace quill::freedesktop {

/// A shape as an SVG text that panels recolour: those that follow
/// Plasma's ColorScheme-Text class and those that override `fill`, as GTK does. 22 × 22 points.
/// Empty where nothing is to be seen. Pure.
std::string symbolicSvg(const Shape& shape);

/// A name for an icon with that text, to be found in an icon theme path: the same for the same text,
/// without the file's ".svg", ending in "-symbolic". Pure.
std::string symbolicName(std::string_view svg);

}  // namespace quill::freedesktop
