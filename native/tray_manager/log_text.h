#pragma once

#include <string>

#include "geometry.h"

namespace quill {

/// A number as log lines show it: the shortest decimal form that reads back to the same value,
/// whole values with one decimal place (22.0).
std::string numberText(double value);
/// Width, the letter x, height.
std::string sizeText(Size size);
/// "true" or "false".
std::string flagText(bool flag);

}  // namespace quill
