#include "svg_bounds.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>

#include "svg_reach.h"

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
  const auto shapes = svgReach(text);
  if (elements.styled) {
    // One rule could apply a clip or a scale to every element.
    if (elements.containers > 0 || shapes.scale > 1.0 || styleBytes(text) > kMostStyleBytes) return false;
  }

  auto references = elements.copies;
  if (shapes.roundness > kMostRoundness) return false;
  auto reach = shapes.value;
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
