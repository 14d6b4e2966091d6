#include "outlined_icon.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace quill::freedesktop {
namespace {

/// In 22nds of the icon, the soft rim included. With 2 no pixel keeps the pure tone, which alone shows on a bar of
/// middling blue, once a panel has scaled the icon to 16 pixels.
constexpr double kOutlineWidth = 2.5;
/// The area, in squares of the outline's width, of the smallest opening that shows the bar: the hole
/// of a cogwheel is closed, the glass of a magnifier stays open.
constexpr double kMinOpening = 2.25;

/// Rows are padded to a multiple of 16 bytes, which fits all processors' vector registers.
constexpr std::size_t roundedUp(std::size_t count) { return (count + 15) / 16 * 16; }

// By value, unlike std::max and std::min, whose references keep compilers from vectorising.
constexpr std::uint8_t larger(std::uint8_t one, std::uint8_t other) { return one > other ? one : other; }
constexpr std::uint8_t smaller(std::uint8_t one, std::uint8_t other) { return one < other ? one : other; }

/// The outline is as strong below a half-transparent fill as below a full one, or the bar would show through both.
constexpr std::uint8_t outlineBelow(std::uint8_t fill) {
  return fill < 128 ? static_cast<std::uint8_t>(2 * fill) : 255;
}

constexpr double squareRoot(double square) {
  double root = square;
  for (int i = 0; i < 40 && root > 0.0; ++i) root = (root + square / root) / 2.0;
  return root;
}

/// Paints icons of one side, in bytes and rows of a fixed length.
template <int side>
class TemplatePainter {
 public:
  explicit TemplatePainter(const std::vector<std::uint8_t>& shape) {
    for (std::size_t y = 0; y < kSide; ++y) std::copy_n(shape.data() + y * kSide, kSide, shape_[y].data());
    growOutline();
    closeSmallOpenings();
  }

  IconPixels paint() const {
    IconPixels icon{side, side, std::vector<std::uint8_t>(kSide * kSide * 4)};
    for (std::size_t y = 0; y < kSide; ++y) paintRow(shape_[y], outline_[y], icon.argb.data() + y * kSide * 4);
    return icon;
  }

 private:
  static constexpr std::size_t kSide = side;
  static constexpr double kRadius = kOutlineWidth * side / kSmallSide;
  /// How many pixels the outline reaches, the rim included.
  static constexpr auto kReach = static_cast<std::size_t>(kRadius + 0.5);
  /// A row of pixels, padded.
  using Row = std::array<std::uint8_t, roundedUp(kSide)>;
  using Rows = std::array<Row, kSide>;
  /// A bit for each pixel of a row.
  using Bits = std::uint64_t;
  using BitRows = std::array<Bits, kSide>;
  static constexpr Bits kAll = (Bits{1} << kSide) - 1;

  /// How much a disc with a soft rim covers of a pixel, up to 255, by the pixel's distance from the centre.
  struct Disc {
    std::array<std::array<std::uint8_t, kReach + 1>, kReach + 1> strength{};  // by distance down, then across
    std::array<std::size_t, kReach + 1> whole{};                              // how far across it is 255
    consteval Disc() {
      for (std::size_t y = 0; y <= kReach; ++y) {
        for (std::size_t x = 0; x <= kReach; ++x) {
          const double covered = 255.0 * (kRadius + 1.0 - squareRoot(static_cast<double>(x * x + y * y)));
          strength[y][x] = static_cast<std::uint8_t>(std::clamp(covered + 0.5, 0.0, 255.0));
          if (strength[y][x] == 255) whole[y] = x;
        }
      }
    }
  };

  static constexpr Disc kDisc{};
  /// A row spread to each line of the disc, by the line's distance from the centre.
  using Lines = std::array<Row, kReach + 1>;

  /// Paints the white fill over the black outline.
  static void paintRow(const Row& fill, const Row& outline, std::uint8_t* argb) {
    Row alpha;
    Row grey = fill;
    std::uint8_t mixed = 0;  // not 0 if a pixel shows both fill and bar
    for (std::size_t x = 0; x < fill.size(); ++x) {
      const auto rest = static_cast<std::uint8_t>(255 - fill[x]);
      alpha[x] = static_cast<std::uint8_t>(fill[x] + static_cast<std::uint16_t>(outline[x] * rest + 127) / 255);
      mixed = larger(mixed, smaller(fill[x], static_cast<std::uint8_t>(255 - alpha[x])));
    }
    for (std::size_t x = 0; mixed > 0 && x < fill.size(); ++x) {
      if (alpha[x] > 0) grey[x] = static_cast<std::uint8_t>((fill[x] * 255 + alpha[x] / 2) / alpha[x]);
    }
    for (std::size_t x = 0; x < kSide; ++x) {
      argb[x * 4] = alpha[x];
      argb[x * 4 + 1] = argb[x * 4 + 2] = argb[x * 4 + 3] = grey[x];
    }
  }

  static void raise(Row& row, const Row& to) {
    for (std::size_t x = 0; x < row.size(); ++x) row[x] = larger(row[x], to[x]);
  }

  /// Gives each pixel the strongest coverage under a disc around it. A disc is a stack of lines: each row is spread to
  /// every line's width, and the results are laid on the rows above and below.
  void growOutline() {
    std::array<Lines, kSide> lines;  // NOLINT(cppcoreguidelines-pro-type-member-init): each is written next
    for (std::size_t y = 0; y < kSide; ++y) spreadRow(shape_[y], lines[y], std::make_index_sequence<kReach + 1>());
    for (std::size_t y = 0; y < kSide; ++y) {
      Row grown = lines[y][0];
      for (std::size_t d = 1; d <= kReach; ++d) {
        if (y >= d) raise(grown, lines[y - d][d]);
        if (y + d < kSide) raise(grown, lines[y + d][d]);
      }
      outline_[y] = grown;
    }
  }

  /// `distances` are those of the disc's lines from its centre, as constants so that the compiler unrolls the loop.
  template <std::size_t... distances>
  static void spreadRow(const Row& row, Lines& lines, std::index_sequence<distances...>) {
    std::array<std::uint8_t, roundedUp(kSide) + 2 * kReach> padded{};
    Lines moved;   // by distance: the stronger of the two pixels to the left and right
    Lines spread;  // by distance: the strongest up to there
    for (std::size_t x = 0; x < row.size(); ++x) moved[0][x] = outlineBelow(row[x]);
    spread[0] = moved[0];
    std::copy_n(moved[0].data(), kSide, padded.data() + kReach);
    for (std::size_t d = 1; d <= kReach; ++d) {
      for (std::size_t x = 0; x < row.size(); ++x) {
        moved[d][x] = larger(padded[x + kReach - d], padded[x + kReach + d]);
        spread[d][x] = larger(spread[d - 1][x], moved[d][x]);
      }
    }
    ((lines[distances] = lineOf<distances, kDisc.whole[distances] + 1>(moved, spread[kDisc.whole[distances]])), ...);
  }

  /// The disc's line at a distance, from its whole part and what its rim adds from `across` on.
  template <std::size_t distance, std::size_t across>
  static Row lineOf(const Lines& moved, Row line) {
    if constexpr (across <= kReach) {
      constexpr std::uint8_t kStrength = kDisc.strength[distance][across];
      for (std::size_t x = 0; x < line.size(); ++x) line[x] = larger(line[x], smaller(moved[across][x], kStrength));
      return lineOf<distance, across + 1>(moved, line);
    }
    return line;
  }

  /// Fills the enclosed openings that the outline left only a speck or a sliver of. A counter in the
  /// outline's tone reads well against the fill; a speck of the bar's colour in it does not.
  void closeSmallOpenings() {
    constexpr auto kMinArea = static_cast<std::size_t>(kMinOpening * kRadius * kRadius * 255);
    const BitRows open = openPixels();
    BitRows edges;
    edges.fill(1 | Bits{1} << (kSide - 1));
    edges.front() = edges.back() = kAll;
    const BitRows outside = flood(edges, open);
    BitRows enclosed;
    for (std::size_t y = 0; y < kSide; ++y) enclosed[y] = open[y] & ~outside[y];
    for (std::size_t y = 0; y < kSide; ++y) {
      while (enclosed[y] != 0) {
        BitRows opening{};
        opening[y] = enclosed[y] & -enclosed[y];
        opening = flood(opening, enclosed);
        for (std::size_t row = 0; row < kSide; ++row) enclosed[row] &= ~opening[row];
        if (areaOf(opening) < kMinArea) fill(opening);
      }
    }
  }

  /// The pixels that the outline does not cover fully.
  BitRows openPixels() const {
    static constexpr Row kBits = [] {
      Row bits{};
      for (std::size_t x = 0; x < bits.size(); ++x) bits[x] = static_cast<std::uint8_t>(1U << x % 8);
      return bits;
    }();
    BitRows rows{};
    for (std::size_t y = 0; y < kSide; ++y) {
      const Row outline = outline_[y];
      // Each of eight bytes has a different bit; the multiplication adds them up.
      Row bits;
      for (std::size_t x = 0; x < bits.size(); ++x) bits[x] = kBits[x] & (outline[x] < 255 ? 0xFF : 0);
      for (std::size_t x = 0; x < kSide; x += 8) {
        Bits eight = 0;
        std::memcpy(&eight, bits.data() + x, sizeof eight);
        rows[y] |= (eight * 0x0101010101010101U >> 56U) << x;
      }
      rows[y] &= kAll;
    }
    return rows;
  }

  /// All open pixels that are connected to a seed, side by side.
  static BitRows flood(const BitRows& seeds, const BitRows& open) {
    BitRows reached{};
    const auto reach = [&](std::size_t y, Bits seed) {
      seed &= open[y] & ~reached[y];
      if (seed == 0) return false;
      reached[y] |= spreadAlong(open[y], seed);
      return true;
    };
    for (std::size_t y = 0; y < kSide; ++y) reach(y, seeds[y]);
    for (bool grows = true; grows;) {
      grows = false;
      for (std::size_t y = 1; y < kSide; ++y) grows |= reach(y, reached[y - 1]);
      for (std::size_t y = kSide - 1; y > 0; --y) grows |= reach(y - 1, reached[y]);
    }
    return reached;
  }

  /// All open pixels of a row that are connected to a seed. The distance doubles with each step.
  static Bits spreadAlong(Bits open, Bits seeds) {
    Bits left = open;
    Bits right = open;
    for (std::size_t distance = 1; distance < kSide; distance *= 2) {
      seeds |= (left & (seeds << distance)) | (right & (seeds >> distance));
      left &= left << distance;
      right &= right >> distance;
    }
    return seeds;
  }

  /// In 255ths of a pixel.
  std::size_t areaOf(const BitRows& opening) const {
    std::size_t area = 0;
    forEach(opening, [&](std::size_t x, std::size_t y) { area += 255U - outline_[y][x]; });
    return area;
  }
  void fill(const BitRows& opening) {
    forEach(opening, [&](std::size_t x, std::size_t y) { outline_[y][x] = 255; });
  }
  template <typename Visit>
  static void forEach(const BitRows& pixels, Visit visit) {
    for (std::size_t y = 0; y < kSide; ++y) {
      for (Bits left = pixels[y]; left != 0; left &= left - 1)
        visit(static_cast<std::size_t>(std::countr_zero(left)), y);
    }
  }

  Rows shape_{};
  Rows outline_;
};

}  // namespace

std::vector<IconPixels> templateIconPixels(const Shape& shape) {
  if (shape.alpha.empty()) return {};
  const auto coverage = framedCoverage(shape);
  std::vector<IconPixels> icons;
  icons.push_back(TemplatePainter<kSmallSide>(coverage.small).paint());
  if (!coverage.large.empty()) icons.push_back(TemplatePainter<kLargeSide>(coverage.large).paint());
  return icons;
}

}  // namespace quill::freedesktop
