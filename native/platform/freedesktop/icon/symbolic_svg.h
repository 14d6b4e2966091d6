#pragma once

#include <string>
#include <string_view>

#include "panel.h"
#include "shape.h"

namespace quill::freedesktop {

/// A shape as SVG text of 22 × 22 points. Plasma recolours the class ColorScheme-Text, GTK overrides `fill`; the form
/// for a panel that does neither has two tones. The shape leaves room for an outline if the panel's form has one;
/// otherwise it fills that room. Empty if nothing would be visible. Pure.
std::string symbolicSvg(const Shape& shape, const Panel& panel);

/// A name for an icon with that text in an icon theme path, without the file's ".svg". It ends in "-symbolic". Equal
/// texts have equal names. Pure.
std::string symbolicName(std::string_view svg);

}  // namespace quill::freedesktop
