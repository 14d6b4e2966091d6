#pragma once

#include <string>
#include <string_view>

#include "image.h"

namespace quill::freedesktop {

/// The source's shape, from its alpha alone, as an SVG text that panels recolour: those that follow
/// Plasma's ColorScheme-Text class and those that override `fill`, as GTK does. 22 × 22 points.
/// Empty for pixels that hold no shape. Pure.
std::string symbolicSvg(const Pixels& source);

/// A name for an icon with that text, to be found in an icon theme path: the same for the same text,
/// without the file's ".svg", ending in "-symbolic". Pure.
std::string symbolicName(std::string_view svg);

}  // namespace quill::freedesktop
