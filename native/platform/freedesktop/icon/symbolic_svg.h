#pragma once

#include <string>
#include <string_view>

#include "panel_kind.h"
#include "shape.h"

namespace quill::freedesktop {

/// A shape as an SVG text that the panel recolours: by its class ColorScheme-Text, as Plasma does, or by overriding
/// `fill`, as GTK does. Plasma takes the application's colours for it, which need not be the bar's, so for Plasma it
/// has an outline in the background's colour, and room for that. Elsewhere the shape takes that room. 22 × 22 points.
/// Empty where nothing is to be seen. Pure.
std::string symbolicSvg(const Shape& shape, PanelKind panel);

/// A name for an icon with that text, to be found in an icon theme path: the same for the same text,
/// without the file's ".svg", ending in "-symbolic". Pure.
std::string symbolicName(std::string_view svg);

}  // namespace quill::freedesktop
