#include "description.h"

#include <cmath>
#include <cstdint>
#include <iomanip>
#include <locale>
#include <sstream>

namespace quill {

namespace {

/// The fewest decimal places, at least one, that read back to `value`. std::to_chars(double) needs macOS 13.3.
std::string numberText(double value) {
  constexpr double kEveryWholeNumber = 1e15;  // a double holds each smaller whole number
  if (std::abs(value) < kEveryWholeNumber && std::trunc(value) == value) {
    return std::to_string(static_cast<std::int64_t>(value)) + ".0";
  }
  std::stringstream text;
  text.imbue(std::locale::classic());
  double readBack = 0.0;
  for (int places = 1;; ++places) {
    text.str({});
    text.clear();
    text << std::fixed << std::setprecision(places) << value;
    if (!std::isfinite(value) || (text >> readBack && readBack == value)) return text.str();
  }
}

}  // namespace

std::string sizeText(Size size) { return numberText(size.width) + "x" + numberText(size.height); }

std::string flagText(bool flag) { return flag ? "true" : "false"; }

}  // namespace quill
