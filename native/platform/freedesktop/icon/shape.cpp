#include "shape.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <span>

#include "page_memory.h"

namespace quill::freedesktop {
namespace {

/// Kept free on each side for the outline, in 44ths of the icon.
constexpr int kMargin = 3;
/// Below this fraction of the strongest opacity, 1/16, a pixel does not count as touching the margin.
constexpr int kFaintest = 16;
/// The least opacity of a shape's strongest pixel. With it, the fill or the outline has a contrast of 3 : 1 on a bar of
/// any grey, in either tone.
constexpr std::uint8_t kMinStrongest = 197;
/// A shape up to this side is not reduced.
constexpr int kMaxKeptSide = 128;

constexpr std::size_t kSide = kLargeSide;
/// The unit of target pixels' edges, as parts of a source pixel. Sums of integers are exact, so that mirrored shapes
/// give mirrored icons on any processor.
constexpr std::int64_t kUnits = 4096;
/// What one opacity level counts in the resampled picture.
constexpr std::uint64_t kLevel = 256;
using Levels = std::vector<std::uint32_t>;

/// What one target pixel of a line covers of the source's line, in kUnits.
struct Section {
  std::uint64_t length = 0;
  std::size_t first = 0;  ///< the first source pixel in it
  std::vector<std::uint32_t> weights;
};

/// `scale` is target pixels for each source pixel; both lines have the same middle.
std::array<Section, kSide> sectionsOf(int source, double scale) {
  const auto edge = [&](std::size_t i) {
    const double fromMiddle = static_cast<double>(i) - kLargeSide / 2.0;
    return std::llround(fromMiddle * static_cast<double>(kUnits) / scale) + source * kUnits / 2;
  };
  std::array<Section, kSide> sections;
  for (std::size_t i = 0; i < kSide; ++i) {
    const std::int64_t left = edge(i);
    const std::int64_t right = edge(i + 1);
    auto& section = sections[i];
    section.length = static_cast<std::uint64_t>(right - left);
    const auto first = std::max(left, std::int64_t{0}) / kUnits;
    section.first = static_cast<std::size_t>(first);
    for (auto pixel = first; pixel < source && pixel * kUnits < right; ++pixel) {
      const auto overlap = std::min(right, (pixel + 1) * kUnits) - std::max(left, pixel * kUnits);
      section.weights.push_back(static_cast<std::uint32_t>(overlap));
    }
  }
  return sections;
}

/// The average over each target pixel's area, in a square of the large side.
Levels resample(const Shape& shape, double scale) {
  const auto columns = sectionsOf(shape.width, scale);
  const auto rows = sectionsOf(shape.height, scale);
  Levels levels;
  levels.reserve(kSide * kSide);
  for (const auto& row : rows) {
    std::array<std::uint64_t, kSide> sums{};
    const std::uint8_t* line = shape.alpha.data() + row.first * static_cast<std::size_t>(shape.width);
    for (const auto weight : row.weights) {
      for (std::size_t x = 0; x < kSide; ++x) {
        const std::uint8_t* const alpha = line + columns[x].first;
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < columns[x].weights.size(); ++i) sum += columns[x].weights[i] * alpha[i];
        sums[x] += std::uint64_t{weight} * sum;
      }
      line += shape.width;
    }
    for (std::size_t x = 0; x < kSide; ++x) {
      levels.push_back(static_cast<std::uint32_t>(sums[x] * kLevel / (row.length * columns[x].length)));
    }
  }
  return levels;
}

/// The picture at half its side.
Levels halved(const Levels& levels) {
  Levels small;
  for (std::size_t y = 0; y < kSide; y += 2) {
    for (std::size_t x = 0; x < kSide; x += 2) {
      const auto* const at = levels.data() + y * kSide + x;
      small.push_back((at[0] + at[1] + at[kSide] + at[kSide + 1] + 2) / 4);
    }
  }
  return small;
}

/// Scales the opacities so that the strongest becomes as strong as in the source. Hairlines, which resampling weakens,
/// get stronger; soft edges stay soft.
Coverage strengthened(const Levels& levels, std::uint8_t strongestOfSource) {
  const auto strongest = *std::ranges::max_element(levels);
  const std::uint32_t wanted = std::max(strongestOfSource, kMinStrongest);
  Coverage coverage(levels.size());
  if (strongest <= kLevel / 2) return coverage;
  std::ranges::transform(levels, coverage.begin(), [&](std::uint32_t level) {
    return static_cast<std::uint8_t>((level * wanted + strongest / 2) / strongest);
  });
  return coverage;
}

std::uint8_t strongestOf(const Shape& shape) { return *std::ranges::max_element(shape.alpha); }

/// The largest distance between the centre and an edge of the shape, in halves of a source pixel.
int reachOf(const Shape& shape) {
  const int least = std::max(1, strongestOf(shape) / kFaintest);
  const auto isSeen = [least](std::uint8_t alpha) { return alpha >= least; };
  int reach = 0;
  for (int y = 0; y < shape.height; ++y) {
    const auto width = static_cast<std::size_t>(shape.width);
    const auto row = std::span(shape.alpha).subspan(static_cast<std::size_t>(y) * width, width);
    const auto first = std::find_if(row.begin(), row.end(), isSeen);
    if (first == row.end()) continue;
    const auto last = std::find_if(row.rbegin(), row.rend(), isSeen);
    const auto free = std::min(first - row.begin(), last - row.rbegin());
    reach = std::max({reach, shape.width - 2 * static_cast<int>(free), shape.height - 2 * y, 2 * y + 2 - shape.height});
  }
  return reach;
}

double fittingScale(const Shape& shape) {
  return static_cast<double>(kLargeSide) / std::max(shape.width, shape.height);
}

}  // namespace

Shape shapeOf(const Pixels& source) {
  if (source.width < 1 || source.height < 1) return {};
  const auto count = static_cast<std::size_t>(source.width) * static_cast<std::size_t>(source.height);
  if (source.rgba.size() / 4 < count) return {};
  Shape shape{source.width, source.height, std::pmr::vector<std::uint8_t>(count, posix::pageMemory())};
  const std::uint8_t* const from = source.rgba.data() + 3;
  std::uint8_t* const to = shape.alpha.data();
  for (std::size_t i = 0; i < count; ++i) to[i] = from[i * 4];
  return shape;
}

Shape reduced(Shape shape) {
  if (std::max(shape.width, shape.height) <= kMaxKeptSide) return shape;
  const auto coverage = shapeCoverage(shape);
  return {kLargeSide, kLargeSide, {coverage.begin(), coverage.end()}};
}

Coverage shapeCoverage(const Shape& shape) {
  if (shape.alpha.empty()) return {};
  return strengthened(resample(shape, fittingScale(shape)), strongestOf(shape));
}

CoverageWithMargin coverageWithMargin(const Shape& shape) {
  if (shape.alpha.empty()) return {};
  constexpr double kRoom = kLargeSide - 2 * kMargin;
  const auto strongest = strongestOf(shape);
  const auto levels = resample(shape, std::min(fittingScale(shape), kRoom / std::max(1, reachOf(shape))));
  return {strengthened(halved(levels), strongest), strengthened(levels, strongest)};
}

}  // namespace quill::freedesktop
