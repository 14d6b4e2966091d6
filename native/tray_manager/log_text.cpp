#include "log_text.h"

#include <array>
#include <charconv>

namespace quill {

namespace {

std::string numberText(double value) {
  std::array<char, 512> digits{};  // the smallest double takes 327 characters, the largest 309
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed).ptr;
  std::string text(digits.data(), end);
  if (text.find_first_not_of("-0123456789") == std::string::npos) text += ".0";
  return text;
}

}  // namespace

std::string sizeText(Size size) { return numberText(size.width) + "x" + numberText(size.height); }

std::string flagText(bool flag) { return flag ? "true" : "false"; }

}  // namespace quill
