#include "svg_bounds.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <system_error>

namespace quill {
namespace {

constexpr std::size_t kMostBytes = 32'768;
/// Style rules are matched against every element.
constexpr std::size_t kMostStyleBytes = 1024;
/// Bytes of text after all copies have been written out, times the pieces that a shape of that size is drawn in.
constexpr double kMostExpandedBytes = 256 * 1024;

/// Outlines of arcs are drawn in many more pieces than those of other curves, each with a join of its own.
constexpr double kMostRoundness = 4000;

// In lower case, as the whole text is when it is looked at.
constexpr auto kRefusedElements = std::to_array<std::string_view>(
    {"text", "filter", "pattern", "marker", "image", "foreignobject", "include", "script"});
// Further files, characters written as something else, and transforms of any scale.
constexpr auto kRefusedText = std::to_array<std::string_view>({"data:", "@import", "&#", "\\", "skew"});

std::size_t count(std::string_view text, std::string_view part) {
  std::size_t found = 0;
  for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + part.size())) ++found;
  return found;
}

/// Whether lines are drawn in dashes, of which there may be any number.
bool isDashed(std::string_view text) {
  constexpr std::string_view kDashes = "dasharray";
  for (auto at = text.find(kDashes); at != std::string_view::npos; at = text.find(kDashes, at + 1)) {
    const auto value = text.find_first_not_of(" \t\r\n:=\"'", at + kDashes.size());
    if (value == std::string_view::npos || !text.substr(value).starts_with("none")) return true;
  }
  return false;
}

/// Only encodings in which the characters looked for here cannot hide.
bool isPlainlyEncoded(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) return false;
  const auto declaration = text.substr(0, std::min(text.find("?>"), text.size()));
  if (text.find("<?xml") == std::string_view::npos || declaration.find("encoding") == std::string_view::npos) {
    return true;
  }
  return std::ranges::any_of(std::to_array<std::string_view>({"utf-8", "us-ascii", "iso-8859-1"}), [&](auto name) {
    return declaration.find('"' + std::string(name) + '"') != std::string_view::npos ||
           declaration.find('\'' + std::string(name) + '\'') != std::string_view::npos;
  });
}

/// The name of the element that starts at `at`, behind its '<', without the prefix of its namespace.
std::string_view localName(std::string_view text, std::size_t at) {
  const auto end = std::min(text.find_first_of(" \t\r\n/>", at), text.size());
  const auto name = text.substr(at, end - at);
  return name.substr(name.find(':') + 1);
}

struct Elements {
  bool allowed = true;
  std::size_t copies = 0;      ///< elements that draw another one again
  std::size_t containers = 0;  ///< elements that are drawn for each one that refers to them
  bool styled = false;
};

Elements scan(std::string_view text) {
  Elements elements;
  for (auto at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
    const auto rest = text.substr(at + 1);
    if (rest.starts_with('!')) {  // no entities, and no attributes by default
      elements.allowed &= rest.starts_with("!--") || rest.starts_with("![cdata[") ||
                          (rest.starts_with("!doctype") && rest.find('>') < rest.find('['));
    } else if (rest.starts_with('?')) {
      elements.allowed &= rest.starts_with("?xml ");
    } else {
      const auto name = localName(text, at + 1);
      elements.allowed &= !std::ranges::count(kRefusedElements, name);
      elements.copies += name == "use";
      elements.containers += name == "clippath" || name == "mask";
      elements.styled |= name == "style";
    }
  }
  return elements;
}

/// Where the tag of the outermost element ends.
std::size_t endOfRoot(std::string_view text) {
  std::size_t at = text.find('<');
  while (at < text.size() && (text.substr(at).starts_with("<!") || text.substr(at).starts_with("<?"))) {
    at = text.find('<', text.find(text.substr(at).starts_with("<!--") ? "-->" : ">", at));
  }
  return text.find('>', at);
}

/// How many times as large as the picture a shape can be, told from all numbers in the text, wherever they stand:
/// the larger a curve, the more pieces it is drawn in, and there is no clipping before that.
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
    } else if (word == "inkscape" || word == "sodipodi") {
      skipQuoted();
    } else if (word == "gradienttransform") {  // of colours, not of shapes
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

/// From the start of the first style sheet to the end of the last.
std::size_t styleBytes(std::string_view text) {
  const auto first = std::min(text.find("<style"), text.find(":style"));
  const auto last = text.rfind("style");
  return first == std::string_view::npos ? 0 : last - first;
}

}  // namespace

bool isAffordableSvg(std::string_view original) {
  if (original.size() > kMostBytes) return false;
  std::string text(original);
  std::ranges::transform(text, text.begin(),
                         [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); });

  const auto elements = scan(text);
  if (!elements.allowed || !isPlainlyEncoded(text) || isDashed(text)) return false;
  if (std::ranges::any_of(kRefusedText, [&](auto part) { return count(text, part) > 0; })) return false;
  const Reach shapes(text);
  if (elements.styled) {
    // One rule could apply a clip or a scale to every element.
    if (elements.containers > 0 || shapes.scale() > 1.0 || styleBytes(text) > kMostStyleBytes) return false;
  }

  auto references = elements.copies;
  if (shapes.roundness() > kMostRoundness) return false;
  auto reach = shapes.value();
  if (elements.containers > 0) {
    references += count(text, "url(") + count(text, "inherit");
    if (count(text, "objectboundingbox") > 0) reach *= reach;
  }
  // Of all ways to nest n references, levels of three multiply most. The pieces of a curve grow with the root of its
  // size.
  return static_cast<double>(text.size()) * std::pow(3.0, static_cast<double>(references) / 3.0) * std::sqrt(reach) <=
         kMostExpandedBytes;
}

}  // namespace quill
