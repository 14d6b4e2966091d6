#include "svg_reach.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace quill {
namespace {

/// Where the tag of the outermost element ends.
std::size_t endOfRoot(std::string_view text) {
  std::size_t at = text.find('<');
  while (at < text.size() && (text.substr(at).starts_with("<!") || text.substr(at).starts_with("<?"))) {
    at = text.find('<', text.find(text.substr(at).starts_with("<!--") ? "-->" : ">", at));
  }
  return text.find('>', at);
}

class Reach {
 public:
  explicit Reach(std::string_view text) : text_(text), rootEnd_(endOfRoot(text)) {
    while (at_ < text_.size()) {
      const char c = text_[at_];
      if (isLetter(c)) {
        readWord();
      } else if (c == '#') {  // a colour or a reference
        ++at_;
        skipWord();
      } else if (isDigit(c)) {
        const double number = readNumber();
        largest_ = std::max(largest_, number);
        if (isArc_) addRound(number);
      } else {
        ++at_;
      }
    }
  }

  /// A smooth curve may swing wider with each of its points.
  double value() const {
    return std::max(largest_ / side(), 1.0) * scale() * (isSmooth_ ? static_cast<double>(numbers_) : 1.0);
  }
  /// How many round shapes there are, each as often as the picture goes into it.
  double roundness() const { return std::min(round_ * scale(), kLargestRound * static_cast<double>(numbers_)); }
  /// Of all transforms and inner views, one in the other.
  double scale() const { return scale_ * std::pow(std::max(largest_ / inner_, 1.0), views_); }

 private:
  static constexpr double kLargestRound = 64.0;  // larger ones take no longer

  static bool isLetter(char c) { return c >= 'a' && c <= 'z'; }
  static bool isDigit(char c) { return c >= '0' && c <= '9'; }

  void skipWord() {
    while (at_ < text_.size() && (isLetter(text_[at_]) || isDigit(text_[at_]) || text_[at_] == '_')) ++at_;
  }

  /// In user units, without its sign. Infinite where no number can hold it.
  double readNumber() {
    static constexpr struct {
      std::string_view name;
      double size;
    } kUnits[] = {{"in", 96.0}, {"cm", 38.0}, {"pc", 16.0}, {"em", 16.0}, {"ex", 16.0}, {"mm", 4.0}, {"pt", 1.4}};
    ++numbers_;
    const auto start = at_ - (at_ > 0 && text_[at_ - 1] == '.' ? 1 : 0);
    double number = 0.0;
    const auto [end, error] = std::from_chars(text_.data() + start, text_.data() + text_.size(), number);
    at_ = static_cast<std::size_t>(end - text_.data());
    if (error != std::errc()) return std::numeric_limits<double>::infinity();
    for (const auto& [name, size] : kUnits) {
      if (text_.substr(at_).starts_with(name)) return number * size;
    }
    return number;
  }
  double side() const { return std::isinf(side_) ? 1.0 : side_; }
  void addRound(double number) { round_ += std::min(number / side(), kLargestRound); }
  /// Calls `visit` for each number from here up to one of `ends`.
  template <typename Visit>
  void readNumbers(std::string_view ends, Visit visit) {
    for (int index = 0; at_ < text_.size() && ends.find(text_[at_]) == std::string_view::npos;) {
      isDigit(text_[at_]) ? visit(index++, readNumber()) : static_cast<void>(++at_);
    }
  }
  /// Goes on to an attribute's value, or to that of a property.
  void skipToValue() { at_ = std::min(text_.find_first_not_of(" \t\r\n:=\"'", at_), text_.size()); }

  /// Past a value in quotes, if that comes next; in quotes nothing hides that is drawn.
  void skipQuoted() {
    const auto quote = text_.find_first_not_of("abcdefghijklmnopqrstuvwxyz:-=", at_);
    if (quote == std::string_view::npos || text_[quote] != '"' || text_[quote - 1] != '=') return;
    at_ = std::min(text_.find_first_of("\"<>", quote + 1), text_.size());
  }

  void readWord() {
    const bool isPart = at_ > 0 && text_[at_ - 1] == '-';
    const auto start = at_;
    while (at_ < text_.size() && isLetter(text_[at_])) ++at_;
    auto word = text_.substr(start, at_ - start);
    if (word == "scale" || word == "matrix") {
      double scale = 1.0;
      readNumbers(")<>", [&](int index, double number) {
        double& which = word == "scale" || index < 4 ? scale : largest_;
        which = std::max(which, number);
      });
      scale_ *= scale;
    } else if (word == "viewbox") {
      const bool isRoot = start < rootEnd_;
      views_ += isRoot ? 0 : 1;
      double& side = isRoot ? side_ : inner_;
      skipToValue();
      readNumbers("\"'<>", [&](int index, double number) {
        largest_ = std::max(largest_, number);
        if (index >= 2) side = std::min(side, number);
      });
    } else if ((word == "width" || word == "height") && !isPart && start < rootEnd_) {
      skipToValue();
      if (at_ == text_.size() || !isDigit(text_[at_])) return;
      const double number = readNumber();
      largest_ = std::max(largest_, number);
      if (text_.substr(at_, 1) != "%") side_ = std::min(side_, std::max(number, 1.0));
    } else if (word == "inkscape" || word == "sodipodi" || word == "gradienttransform") {  // of no shapes
      skipQuoted();
    } else if (word == "org") {  // of a namespace, with its year
      while (at_ < text_.size() && (text_[at_] == '/' || isDigit(text_[at_]))) ++at_;
    } else {
      word.remove_prefix(std::min(word.find_first_not_of('z'), word.size()));
      isSmooth_ |= word == "t";
      isArc_ = word == "a" || word == "r" || word == "rx" || word == "ry";
      if (word.size() != 1 || std::string_view("mlhvcsqta").find(word) == std::string_view::npos) skipWord();
    }
  }

  std::string_view text_;
  std::size_t rootEnd_;
  std::size_t at_ = 0;
  std::size_t numbers_ = 0;
  double largest_ = 1.0;
  double side_ = std::numeric_limits<double>::infinity();   // the picture's shortest, once it is known
  double inner_ = std::numeric_limits<double>::infinity();  // the shortest of a view inside
  double scale_ = 1.0;
  int views_ = 0;
  bool isSmooth_ = false;
  bool isArc_ = false;  // what comes is the numbers of one
  double round_ = 0.0;
};

}  // namespace

SvgReach svgReach(std::string_view text) {
  const Reach reach(text);
  return {reach.value(), reach.roundness(), reach.scale()};
}

}  // namespace quill
