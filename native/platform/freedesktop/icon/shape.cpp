#include "shape.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>

#include "page_memory.h"

namespace quill::freedesktop {
namespace {

/// Below this fraction of the strongest opacity, 1/16, a pixel does not count as touching the margin.
constexpr int kFaintest = 16;
/// The strongest pixel of a shape, however faint on purpose, is brought up to this: so that its fill or its black
/// outline has 3 : 1 on a bar of any grey.
constexpr std::uint8_t kMinStrongest = 170;
/// A shape up to this side is kept as it is.
constexpr int kMaxKeptSide = 128;

/// Opacities as 8 bits before the point and 8 behind it; weights are parts of 65,536.
using Fixed = std::uint16_t;

Fixed weighed(Fixed value, Fixed weight) {
  return static_cast<Fixed>((std::uint32_t{value} * std::uint32_t{weight}) >> 16U);
}

/// The weights with which a line of target pixels is made from a line of source pixels.
class LineFilter {
 public:
  /// `scale` is target pixels for each source pixel; the source's line lies in the middle of the target's.
  LineFilter(int source, int target, double scale) {
    weights_.reserve(static_cast<std::size_t>(source) + std::size_t{2} * kLargeSide);
    const double start = (target - source * scale) / 2.0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(target); ++i) {
      const double from = std::max((static_cast<double>(i) - start) / scale, 0.0);
      const double to = std::min((static_cast<double>(i) + 1.0 - start) / scale, static_cast<double>(source));
      first_[i] = weights_.size();
      if (from < to && scale <= 1.0) {
        source_[i] = addAreas(from, to, scale);
      } else if (from < to) {
        source_[i] = addBlend(source, (from + to) / 2.0 - 0.5, (to - from) * scale);
      }
      first_[i + 1] = weights_.size();
    }
  }

  /// The index of the first source pixel that target pixel `i` takes from.
  std::size_t source(std::size_t i) const { return source_[i]; }
  std::span<const Fixed> weights(std::size_t i) const {
    return std::span(weights_).subspan(first_[i], first_[i + 1] - first_[i]);
  }

 private:
  void add(double part) { weights_.push_back(static_cast<Fixed>(std::min(part * 65536.0, 65535.0))); }

  /// The exact average over the source from `from` to `to`.
  std::size_t addAreas(double from, double to, double scale) {
    const auto first = static_cast<std::size_t>(from);
    for (auto i = first; static_cast<double>(i) < to; ++i) {
      const auto left = static_cast<double>(i);
      add((std::min(left + 1.0, to) - std::max(left, from)) * scale);
    }
    return first;
  }

  /// The straight line between the two source pixels around `centre`.
  std::size_t addBlend(int source, double centre, double covered) {
    const double left = std::clamp(std::floor(centre), 0.0, source - 1.0);
    const double part = std::clamp(centre - left, 0.0, left + 1.0 < source ? 1.0 : 0.0);
    add((1.0 - part) * covered);
    if (part > 0.0) add(part * covered);
    return static_cast<std::size_t>(left);
  }

  std::array<std::size_t, kLargeSide + 1> first_{};
  std::array<std::size_t, kLargeSide> source_{};
  std::vector<Fixed> weights_;
};

/// The length of a row, at least the largest side: compilers vectorise loops over a fixed length.
constexpr std::size_t kStride = 48;
constexpr std::size_t kTile = 8;

/// Transposes kStride rows of `width` numbers; both are multiples of kTile.
void transpose(const Fixed* rows, std::size_t width, Fixed* columns) {
  for (std::size_t y = 0; y < kStride; y += kTile) {
    for (std::size_t x = 0; x < width; x += kTile) {
      std::array<Fixed, kTile * kTile> tile{};
      const Fixed* const from = rows + y * width + x;
      for (std::size_t j = 0; j < kTile; ++j) {
        for (std::size_t i = 0; i < kTile; ++i) tile[j * kTile + i] = from[i * width + j];
      }
      for (std::size_t j = 0; j < kTile; ++j) std::copy_n(&tile[j * kTile], kTile, columns + (x + j) * kStride + y);
    }
  }
}

/// The shape scaled about the centre into a square of `side` rows and columns, in rows of kStride.
std::vector<Fixed> resample(const Shape& shape, int side, double scale) {
  const LineFilter across(shape.width, side, scale);
  const LineFilter down = shape.width == shape.height ? across : LineFilter(shape.height, side, scale);
  const auto width = static_cast<std::size_t>(shape.width);
  const auto n = static_cast<std::size_t>(side);

  // Both passes sum whole rows, the second those of the transposed picture.
  const auto stride = (width + kTile - 1) / kTile * kTile;
  std::pmr::vector<Fixed> rows(stride * kStride, posix::pageMemory());
  for (std::size_t y = 0; y < n; ++y) {
    Fixed* const sums = rows.data() + y * stride;
    const std::uint8_t* alpha = shape.alpha.data() + down.source(y) * width;
    for (const Fixed weight : down.weights(y)) {
      for (std::size_t x = 0; x < width; ++x) {
        sums[x] = static_cast<Fixed>(sums[x] + weighed(static_cast<Fixed>(alpha[x] << 8U), weight));
      }
      alpha += width;
    }
  }
  std::pmr::vector<Fixed> columns(rows.size(), posix::pageMemory());
  transpose(rows.data(), stride, columns.data());

  std::array<Fixed, kStride * kStride> transposed{};
  for (std::size_t x = 0; x < n; ++x) {
    Fixed* const sums = transposed.data() + x * kStride;
    const Fixed* column = columns.data() + across.source(x) * kStride;
    for (const Fixed weight : across.weights(x)) {
      for (std::size_t y = 0; y < kStride; ++y) sums[y] = static_cast<Fixed>(sums[y] + weighed(column[y], weight));
      column += kStride;
    }
  }
  std::vector<Fixed> square(transposed.size());
  transpose(transposed.data(), kStride, square.data());
  return square;
}

/// The square at half its side, as averages over areas.
std::vector<Fixed> halved(const std::vector<Fixed>& square) {
  std::vector<Fixed> small(square.size());
  for (std::size_t y = 0; y < kSmallSide; ++y) {
    const Fixed* const above = square.data() + y * 2 * kStride;
    const Fixed* const below = above + kStride;
    Fixed* const to = small.data() + y * kStride;
    for (std::size_t x = 0; x < kStride / 2; ++x) {
      const std::uint32_t sum = std::uint32_t{above[2 * x]} + above[2 * x + 1] + below[2 * x] + below[2 * x + 1];
      to[x] = static_cast<Fixed>((sum + 2U) / 4U);
    }
  }
  return small;
}

/// Scales the opacities so that the strongest becomes as strong as in the source, `wanted`: hairlines, which resampling
/// weakens, gain; soft edges stay soft.
std::vector<std::uint8_t> strengthened(const std::vector<Fixed>& square, int side, std::uint8_t wanted) {
  const auto n = static_cast<std::size_t>(side);
  Fixed strongest = 0;
  for (std::size_t i = 0; i < n * kStride; ++i) strongest = square[i] > strongest ? square[i] : strongest;
  const float gain =
      strongest > 128 ? static_cast<float>(std::max(wanted, kMinStrongest)) / static_cast<float>(strongest) : 0.0F;
  std::vector<std::uint8_t> coverage(n * n);
  for (std::size_t y = 0; y < n; ++y) {
    std::array<std::uint8_t, kStride> row{};
    std::transform(square.begin() + static_cast<std::ptrdiff_t>(y * kStride),
                   square.begin() + static_cast<std::ptrdiff_t>((y + 1) * kStride), row.begin(), [gain](Fixed value) {
                     return static_cast<std::uint8_t>(static_cast<int>(static_cast<float>(value) * gain + 0.5F));
                   });
    std::copy_n(row.begin(), n, coverage.begin() + static_cast<std::ptrdiff_t>(y * n));
  }
  return coverage;
}

struct Extent {
  std::uint8_t strongest = 0;  ///< opacity
  double reach = 0.0;          ///< from the centre, in source pixels, towards the side that the shape comes closest to
};

Extent extentOf(const Shape& shape) {
  const auto width = static_cast<std::size_t>(shape.width);
  const auto height = static_cast<std::size_t>(shape.height);
  const auto row = [&](std::size_t y) { return std::span(shape.alpha).subspan(y * width, width); };
  std::vector<std::uint8_t> columns(width);  // the strongest of each
  for (std::size_t y = 0; y < height; ++y) {
    const std::uint8_t* const alpha = row(y).data();
    for (std::size_t x = 0; x < width; ++x) columns[x] = alpha[x] > columns[x] ? alpha[x] : columns[x];
  }
  const std::uint8_t strongest = *std::ranges::max_element(columns);
  const int least = std::max(1, strongest / kFaintest);
  const auto isTouched = [least](std::uint8_t alpha) { return alpha >= least; };
  const auto left = static_cast<std::size_t>(std::ranges::find_if(columns, isTouched) - columns.begin());
  if (left == width) return {};

  std::size_t right = width;
  std::size_t top = 0;
  std::size_t bottom = height;
  while (!isTouched(columns[right - 1])) --right;
  while (std::ranges::none_of(row(top), isTouched)) ++top;
  while (std::ranges::none_of(row(bottom - 1), isTouched)) --bottom;
  const double middle = shape.height / 2.0;
  const double centre = shape.width / 2.0;
  return {strongest, std::max({centre - static_cast<double>(left), static_cast<double>(right) - centre,
                               middle - static_cast<double>(top), static_cast<double>(bottom) - middle})};
}

double fittingScale(const Shape& shape, int side) {
  return static_cast<double>(side) / std::max(shape.width, shape.height);
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

Shape keptOf(Shape shape) {
  if (std::max(shape.width, shape.height) <= kMaxKeptSide) return shape;
  const auto coverage = shapeCoverage(shape);
  return {kLargeSide, kLargeSide, {coverage.begin(), coverage.end()}};
}

int largestSide(const Shape& shape) {
  return std::max(shape.width, shape.height) > kSmallSide ? kLargeSide : kSmallSide;
}

std::vector<std::uint8_t> shapeCoverage(const Shape& shape) {
  if (shape.alpha.empty()) return {};
  const int side = largestSide(shape);
  return strengthened(resample(shape, side, fittingScale(shape, side)), side, extentOf(shape).strongest);
}

FramedCoverage framedCoverage(const Shape& shape) {
  if (shape.alpha.empty()) return {};
  constexpr double kRoom = kSmallSide / 2.0 - kOutlineMargin;
  const double fitting = fittingScale(shape, kSmallSide);
  const auto [strongest, reach] = extentOf(shape);
  const double reached = reach * fitting;
  const double scale = reached > kRoom ? fitting * kRoom / reached : fitting;
  if (largestSide(shape) == kSmallSide)
    return {strengthened(resample(shape, kSmallSide, scale), kSmallSide, strongest), {}};
  const auto large = resample(shape, kLargeSide, 2.0 * scale);
  const auto small = 2.0 * scale <= 1.0 ? halved(large) : resample(shape, kSmallSide, scale);
  return {strengthened(small, kSmallSide, strongest), strengthened(large, kLargeSide, strongest)};
}

}  // namespace quill::freedesktop
