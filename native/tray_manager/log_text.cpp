#include "log_text.h"

#include <cmath>
#include <iomanip>
#include <locale>
#include <sstream>

namespace quill {

// With as many decimal places as it takes: std::to_chars knows at once how many, but a Mac has it from version 13.3 on.
std::string numberText(double value) {
  std::stringstream text;
  text.imbue(std::locale::classic());
  for (int places = 1;; ++places) {
    text.str({});
    text.clear();
    text << std::fixed << std::setprecision(places) << value;
    double readBack = 0.0;
    if (!std::isfinite(value) || (text >> readBack && readBack == value)) return text.str();
  }
}

std::string sizeText(Size size) { return numberText(size.width) + "x" + numberText(size.height); }

std::string flagText(bool flag) { return flag ? "true" : "false"; }

}  // namespace quill
