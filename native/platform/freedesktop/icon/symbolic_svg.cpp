#include "symbolic_svg.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace quill::freedesktop {
namespace {

constexpr std::string_view kHead = R"(<svg xmlns="http://www.w3.org/2000/svg" width="22" height="22" viewBox=")";
constexpr std::string_view kStyle =
    R"("><style type="text/css" id="current-color-scheme">.ColorScheme-Text { color:#232629; })"
    R"(.ColorScheme-Background { color:#eff0f1; }</style>)";
constexpr std::string_view kTwoTones =
    R"("><style type="text/css">.ColorScheme-Text { color:#ffffff; }.ColorScheme-Background { color:#000000; }</style>)";
constexpr std::string_view kPath = R"(<path class="ColorScheme-Text" fill="currentColor" fill-opacity=")";

/// Half of the stroke lies beneath the shape, so that 1.5 of 22 pixels are visible. A panel that scales the icon down
/// to 16 pixels leaves one of them.
constexpr std::string_view kOutline =
    R"(<path class="ColorScheme-Background" fill="currentColor" stroke="currentColor" stroke-linejoin="round" )"
    R"(stroke-width=")";
constexpr std::string_view kStrokeWidth = "6";
/// A pixel covered at least this much has the outline around it.
constexpr int kOutlined = 96;
/// In 44ths of the icon.
constexpr int kMaxMargin = 4;

/// One layer of the picture paints every pixel with at least this coverage once more. The opacity is such that all
/// layers up to this one together give the level's opacity. The layers overlap, because between neighbours that each
/// half-cover a pixel the bar would show through.
struct Layer {
  int leastCoverage;
  std::string_view opacity;
};
/// Together 1/4, 1/2, 3/4 and 1; each level stands for the coverages around it.
constexpr std::array kLayers = {Layer{32, ".25"}, Layer{96, ".3333"}, Layer{160, ".5"}, Layer{224, "1"}};

/// Traces the contours of the set pixels of a square, which it keeps on the right.
class ContourTracer {
 public:
  ContourTracer(const Coverage& coverage, int leastCoverage)
      : coverage_(coverage), least_(leastCoverage), walked_(coverage.size()) {}

  /// A sub-path around each area and, the other way round, around each hole.
  std::string path() {
    std::string path;
    for (int y = 0; y < kLargeSide; ++y) {
      for (int x = 0; x < kLargeSide; ++x) {
        // Every loop holds an edge that has its pixel below it, and is walked from there once.
        if (isSet(x, y) && !isSet(x, y - 1) && !walked_[index(x, y)]) addLoop(path, x, y);
      }
    }
    return path;
  }

 private:
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(kLargeSide) + static_cast<std::size_t>(x);
  }
  bool isSet(int x, int y) const {
    return x >= 0 && y >= 0 && x < kLargeSide && y < kLargeSide && coverage_[index(x, y)] >= least_;
  }
  /// Whether the pixel at the corner of grid point (x, y) towards (dx, dy), each 1 or -1, is set.
  bool isSetTowards(int x, int y, int dx, int dy) const { return isSet(dx > 0 ? x : x - 1, dy > 0 ? y : y - 1); }

  void addLoop(std::string& path, int startX, int startY) {
    path += 'M' + std::to_string(startX) + ' ' + std::to_string(startY);
    int x = startX;
    int y = startY;
    int dx = 1;
    int dy = 0;
    do {
      const int fromX = x;
      const int fromY = y;
      bool ahead = true;
      while (ahead) {
        if (dx == 1) walked_[index(x, y)] = true;
        x += dx;
        y += dy;
        // Ahead on the right and on the left of the way; where only corners touch, turn right.
        const bool right = isSetTowards(x, y, dx - dy, dx + dy);
        const bool left = isSetTowards(x, y, dx + dy, dy - dx);
        ahead = right && !left;
        if (!ahead) {
          const int turn = right ? -1 : 1;
          const int turned = -dy * turn;
          dy = dx * turn;
          dx = turned;
        }
      }
      if (x == startX && y == startY && dx == 1) break;  // the path's end closes the last line
      path += x != fromX ? 'h' + std::to_string(x - fromX) : 'v' + std::to_string(y - fromY);
    } while (true);
    path += 'z';
  }

  const Coverage& coverage_;
  int least_;
  std::vector<bool> walked_;
};

/// The number of empty rows and columns at each side, at most the margin that hosts should leave free.
int unusedMargin(const Coverage& coverage) {
  int margin = kMaxMargin;
  for (int i = 0; i < kLargeSide * kLargeSide; ++i) {
    const int x = i % kLargeSide;
    const int y = i / kLargeSide;
    if (coverage[static_cast<std::size_t>(i)] < kLayers.front().leastCoverage) continue;
    margin = std::min({margin, x, y, kLargeSide - 1 - x, kLargeSide - 1 - y});
  }
  return margin;
}

}  // namespace

std::string symbolicSvg(const Shape& shape, const Panel& panel) {
  const bool isOutlined = panel.icon != IconForm::symbolic;
  const auto coverage = isOutlined ? coverageWithMargin(shape).large : shapeCoverage(shape);
  if (coverage.empty()) return {};

  const int margin = isOutlined ? 0 : unusedMargin(coverage);
  const auto corner = std::to_string(margin) + ' ';
  const auto seen = std::to_string(kLargeSide - 2 * margin);
  std::string svg(kHead);
  svg.append(corner).append(corner).append(seen).append(" ").append(seen);
  svg.append(panel.icon == IconForm::file ? kTwoTones : kStyle);
  if (isOutlined) {
    svg.append(kOutline).append(kStrokeWidth).append(R"(" d=")").append(ContourTracer(coverage, kOutlined).path());
    svg.append(R"("/>)");
  }
  bool isEmpty = true;
  for (const auto& layer : kLayers) {
    const auto path = ContourTracer(coverage, layer.leastCoverage).path();
    if (path.empty()) break;
    isEmpty = false;
    svg.append(kPath).append(layer.opacity).append(R"(" d=")").append(path).append(R"("/>)");
  }
  return isEmpty ? std::string() : svg + "</svg>\n";
}

std::string symbolicName(std::string_view svg) {
  return "icon-" + std::to_string(std::hash<std::string_view>{}(svg)) + "-symbolic";
}

}  // namespace quill::freedesktop
