#include "log_text.h"

#include <cmath>
#include <cstdint>
#include <iomanip>
#include <locale>
#include <sstream>

namespace quill {

namespace {

/// With as many decimal places as tell it from other numbers, at least one. std::to_chars would do, but needs macOS 13.
std::string numberText(double value) {
  constexpr double kEveryWholeNumber = 1e15;  // below which a double has them all
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
