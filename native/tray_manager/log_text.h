#pragma once

#include <string>

#include "geometry.h"

namespace quill {

/// Width, the letter x, height: each in the shortest decimal form that reads back to the same value, whole
/// values with one decimal place (22.0).
std::string sizeText(Size size);
/// "true" or "false".
std::string flagText(bool flag);

}  // namespace quill
