#pragma once

#include <string>
#include <string_view>

#include "panel.h"
#include "shape.h"

namespace quill::freedesktop {

/// A shape as an SVG text that the panel recolours: by its class ColorScheme-Text, as Plasma does, or by overriding
/// `fill`, as GTK does. In the form for a panel that does neither, the
/// colours are two tones. Where the panel's form has an outline, the shape leaves room for it; elsewhere the shape
/// fills that room. 22 × 22 points. Empty where nothing is to be seen. Pure.
std::string symbolicSvg(const Shape& shape, const Panel& panel);

/// A name for an icon with that text, to be found in an icon theme path: the same for the same text,
/// without the file's ".svg", ending in "-symbolic". Pure.
std::string symbolicName(std::string_view svg);

}  // namespace quill::freedesktop
