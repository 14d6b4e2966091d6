#include "icon_pixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>

namespace quill::freedesktop {
namespace {

constexpr int kSmallSide = 22;
constexpr int kLargeSide = 44;
/// In pixels of 22, its soft rim included. With less, no pixel keeps the outline's pure tone, which a
/// bar of middling blue needs, after a panel has scaled 44 or 22 to 16.
constexpr double kOutlineWidth = 3.0;
/// What is kept free for it, in pixels of 22; where a shape needs all the room, only the rim is cut.
constexpr int kMargin = 2;
/// The area, in squares of the outline's width, of the smallest opening that shows the bar: the hole
/// of a cogwheel is closed, the glass of a magnifier stays open.
constexpr double kLeastOpening = 2.25;
/// Coverage below this part of the strongest does not count as touching the margin.
constexpr int kFaintest = 16;

using Bytes = std::vector<std::uint8_t>;

bool holdsPicture(const Pixels& source) {
  return source.width > 0 && source.height > 0 &&
         source.rgba.size() / 4 / static_cast<std::size_t>(source.width) >= static_cast<std::size_t>(source.height);
}

/// What one line of target pixels takes from a line of source pixels.
class LineFilter {
 public:
  /// `scale` is target pixels for each source pixel; the source's line lies in the middle of the target's.
  LineFilter(int source, int target, double scale) {
    const double start = (target - source * scale) / 2.0;
    for (int i = 0; i < target; ++i) {
      first_.push_back(weights_.size());
      const double from = std::max((i - start) / scale, 0.0);
      const double to = std::min((i + 1 - start) / scale, static_cast<double>(source));
      source_.push_back(0);
      if (from >= to) continue;
      if (scale <= 1.0) {
        addAreas(from, to, scale);
      } else {
        addBlend(source, (from + to) / 2.0 - 0.5, (to - from) * scale);
      }
    }
    first_.push_back(weights_.size());
  }

  /// The index of the first source pixel that target pixel `i` takes from.
  std::size_t source(std::size_t i) const { return source_[i]; }
  std::span<const float> weights(std::size_t i) const {
    return std::span(weights_).subspan(first_[i], first_[i + 1] - first_[i]);
  }

 private:
  /// The exact average over the source from `from` to `to`.
  void addAreas(double from, double to, double scale) {
    const auto first = static_cast<std::size_t>(from);
    source_.back() = first;
    for (std::size_t x = first; static_cast<double>(x) < to; ++x) {
      const auto left = static_cast<double>(x);
      weights_.push_back(static_cast<float>((std::min(left + 1.0, to) - std::max(left, from)) * scale));
    }
  }

  /// The straight line between the two source pixels around `centre`.
  void addBlend(int source, double centre, double covered) {
    const double left = std::clamp(std::floor(centre), 0.0, source - 1.0);
    const double part = std::clamp(centre - left, 0.0, left + 1.0 < source ? 1.0 : 0.0);
    source_.back() = static_cast<std::size_t>(left);
    weights_.push_back(static_cast<float>((1.0 - part) * covered));
    if (part > 0.0) weights_.push_back(static_cast<float>(part * covered));
  }

  std::vector<std::size_t> first_;
  std::vector<std::size_t> source_;
  std::vector<float> weights_;
};

double fittingScale(const Pixels& source, int side) {
  return static_cast<double>(side) / std::max(source.width, source.height);
}

/// One value a pixel of a `side` × `side` square, from one value a pixel of the source. `readRow`
/// fills a line of floats from source row y.
template <typename ReadRow>
std::vector<float> resample(const Pixels& source, int side, double scale, ReadRow readRow) {
  const LineFilter across(source.width, side, scale);
  const LineFilter down(source.height, side, scale);
  const auto n = static_cast<std::size_t>(side);

  std::vector<float> result(n * n);
  std::vector<float> row(static_cast<std::size_t>(source.width));
  std::vector<float> sums(row.size());
  for (std::size_t y = 0; y < n; ++y) {
    auto from = down.source(y);
    std::ranges::fill(sums, 0.0F);
    for (const float weight : down.weights(y)) {
      readRow(from++, row);
      for (std::size_t x = 0; x < row.size(); ++x) sums[x] += weight * row[x];
    }
    for (std::size_t x = 0; x < n; ++x) {
      const float* value = sums.data() + across.source(x);
      float sum = 0.0F;
      for (const float weight : across.weights(x)) sum += weight * *value++;
      result[y * n + x] = sum;
    }
  }
  return result;
}

std::uint8_t toByte(float value) { return static_cast<std::uint8_t>(std::clamp(value + 0.5F, 0.0F, 255.0F)); }

/// How far the shape reaches from the centre, in source pixels, towards the side it comes closest to.
double reach(const Pixels& source) {
  const auto width = static_cast<std::size_t>(source.width);
  const auto height = static_cast<std::size_t>(source.height);
  int strongest = 0;
  for (std::size_t i = 0; i < width * height; ++i) strongest = std::max<int>(strongest, source.rgba[i * 4 + 3]);
  const int least = std::max(1, strongest / kFaintest);

  double reached = 0.0;
  for (std::size_t y = 0; y < height; ++y) {
    const auto* alpha = source.rgba.data() + y * width * 4 + 3;
    std::size_t left = 0;
    std::size_t right = width;
    while (left < width && alpha[left * 4] < least) ++left;
    if (left == width) continue;
    while (alpha[(right - 1) * 4] < least) --right;
    const auto row = static_cast<double>(y);
    const double middle = source.height / 2.0;
    const double centre = source.width / 2.0;
    reached = std::max({reached, centre - static_cast<double>(left), static_cast<double>(right) - centre,
                        std::abs(row - middle), std::abs(row + 1.0 - middle)});
  }
  return reached;
}

/// Each pixel's strongest neighbour within `radius`, with a soft rim of one pixel.
Bytes grow(const Bytes& coverage, int side, double radius) {
  // With clear pixels all around, a move is one shift of a flat array.
  const auto n = static_cast<std::size_t>(side);
  const int reached = static_cast<int>(std::ceil(radius));
  const auto padding = static_cast<std::size_t>(reached) + 1;
  const auto stride = n + 2 * padding;
  Bytes padded(stride * stride);
  for (std::size_t y = 0; y < n; ++y) std::copy_n(&coverage[y * n], n, &padded[(y + padding) * stride + padding]);

  const auto raise = [](Bytes& to, const Bytes& from, std::ptrdiff_t offset, std::uint8_t limit) {
    const auto moved = static_cast<std::size_t>(std::abs(offset));
    auto* const target = to.data() + (offset < 0 ? moved : 0);
    const auto* const source = from.data() + (offset < 0 ? 0 : moved);
    const auto count = to.size() - moved;
    for (std::size_t i = 0; i < count; ++i) target[i] = std::max(target[i], std::min(source[i], limit));
  };

  // A disc is a stack of lines: lines of each half-width are made once, then moved up and down.
  std::vector<Bytes> lines{padded};
  for (int i = 1; i <= reached; ++i) {
    lines.push_back(lines.back());
    raise(lines.back(), padded, i, 255);
    raise(lines.back(), padded, -i, 255);
  }
  Bytes grown(padded.size());
  for (int dy = -reached; dy <= reached; ++dy) {
    const auto row = dy * static_cast<std::ptrdiff_t>(stride);
    const auto limit = [&](int dx) { return toByte(static_cast<float>(255.0 * (radius + 1.0 - std::hypot(dx, dy)))); };
    int dx = 0;
    while (limit(dx + 1) == 255) ++dx;
    if (limit(dx) == 255) raise(grown, lines[static_cast<std::size_t>(dx++)], row, 255);
    for (; limit(dx) > 0; ++dx) {
      raise(grown, padded, row + dx, limit(dx));
      raise(grown, padded, row - dx, limit(dx));
    }
  }

  Bytes result(coverage.size());
  for (std::size_t y = 0; y < n; ++y) std::copy_n(&grown[(y + padding) * stride + padding], n, &result[y * n]);
  return result;
}

/// Fills the enclosed openings that an outline of `width` left only a speck or a sliver of. A counter
/// in the outline's tone reads well against the fill; a speck of the bar's colour in it does not.
void closeSmallOpenings(Bytes& outline, int side, double width) {
  const auto n = static_cast<std::size_t>(side);
  const auto leastArea = static_cast<std::size_t>(kLeastOpening * width * width * 255);
  std::vector<bool> seen(outline.size());
  std::vector<std::size_t> opening;
  const auto visit = [&](std::size_t i) {
    if (!seen[i] && outline[i] < 255) opening.push_back(i);
    seen[i] = true;
  };
  for (std::size_t start = 0; start < outline.size(); ++start) {
    opening.clear();
    visit(start);
    bool enclosed = true;
    std::size_t area = 0;
    for (std::size_t next = 0; next < opening.size(); ++next) {
      const auto i = opening[next];
      const auto x = i % n;
      const auto y = i / n;
      area += 255U - outline[i];
      enclosed = enclosed && x > 0 && y > 0 && x + 1 < n && y + 1 < n;
      if (x > 0) visit(i - 1);
      if (x + 1 < n) visit(i + 1);
      if (y > 0) visit(i - n);
      if (y + 1 < n) visit(i + n);
    }
    if (!enclosed || area >= leastArea) continue;
    for (const auto i : opening) outline[i] = 255;
  }
}

IconPixels paintTemplate(const Pixels& source, int side, Tone fill) {
  const double outline = kOutlineWidth * side / kSmallSide;
  const auto shape = shapeCoverage(source, side, kMargin * side / kSmallSide);
  auto under = grow(shape, side, outline);
  closeSmallOpenings(under, side, outline);

  IconPixels icon{side, side, Bytes(shape.size() * 4)};
  auto* to = icon.argb.data();
  for (std::size_t i = 0; i < shape.size(); ++i, to += 4) {
    const int over = shape[i];
    const int alpha = over + (under[i] * (255 - over) + 127) / 255;
    if (alpha == 0) continue;
    const int white = fill == Tone::light ? over : alpha - over;
    to[0] = static_cast<std::uint8_t>(alpha);
    to[1] = to[2] = to[3] = static_cast<std::uint8_t>((white * 255 + alpha / 2) / alpha);
  }
  return icon;
}

IconPixels paintPlain(const Pixels& source, int side) {
  const double scale = fittingScale(source, side);
  const auto width = static_cast<std::size_t>(source.width);
  // Colours count by their alpha, so that what is clear lends no colour to its neighbours.
  const auto plane = [&](std::size_t channel) {
    return resample(source, side, scale, [&](std::size_t y, std::vector<float>& row) {
      const auto* from = source.rgba.data() + y * width * 4;
      for (auto& value : row) {
        value = static_cast<float>(channel == 3 ? from[3] : from[channel] * from[3]);
        from += 4;
      }
    });
  };
  const auto alpha = plane(3);
  const std::array colours = {plane(0), plane(1), plane(2)};

  IconPixels icon{side, side, Bytes(alpha.size() * 4)};
  for (std::size_t i = 0; i < alpha.size(); ++i) {
    const auto opacity = toByte(alpha[i]);
    if (opacity == 0) continue;
    icon.argb[i * 4] = opacity;
    for (std::size_t c = 0; c < 3; ++c) icon.argb[i * 4 + 1 + c] = toByte(colours[c][i] / alpha[i]);
  }
  return icon;
}

template <typename Paint>
std::vector<IconPixels> paintSides(const Pixels& source, Paint paint) {
  std::vector<IconPixels> icons;
  for (const int side : iconSides(source)) icons.push_back(paint(side));
  return icons;
}

}  // namespace

std::vector<int> iconSides(const Pixels& source) {
  if (!holdsPicture(source)) return {};
  if (std::max(source.width, source.height) > kSmallSide) return {kSmallSide, kLargeSide};
  return {kSmallSide};
}

std::vector<IconPixels> plainIconPixels(const Pixels& source) {
  return paintSides(source, [&](int side) { return paintPlain(source, side); });
}

std::vector<IconPixels> templateIconPixels(const Pixels& source, Tone fill) {
  return paintSides(source, [&](int side) { return paintTemplate(source, side, fill); });
}

std::vector<std::uint8_t> shapeCoverage(const Pixels& source, int side, int margin) {
  if (!holdsPicture(source) || side < 1) return {};
  double scale = fittingScale(source, side);
  if (margin > 0) {
    const double reached = reach(source);
    const double room = side / 2.0 - margin;
    if (reached * scale > room) scale = room / reached;
  }
  const auto width = static_cast<std::size_t>(source.width);
  const auto values = resample(source, side, scale, [&](std::size_t y, std::vector<float>& row) {
    const auto* from = source.rgba.data() + y * width * 4 + 3;
    for (auto& value : row) {
      value = *from;
      from += 4;
    }
  });

  // The strongest becomes full, in proportion: faint templates and hairlines gain, soft edges stay soft.
  const float strongest = *std::ranges::max_element(values);
  const float gain = strongest > 0.5F ? 255.0F / strongest : 1.0F;
  Bytes coverage(values.size());
  std::ranges::transform(values, coverage.begin(), [gain](float value) { return toByte(value * gain); });
  return coverage;
}

}  // namespace quill::freedesktop
