#include "two_tone_icon.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace quill::freedesktop {
namespace {

/// In 22nds of the icon, and of 255. A thinner or fainter outline has a contrast below 3 : 1 on a middling grey or blue
/// bar once a panel has scaled the icon to 16 pixels. A stronger one looks like a sticker.
constexpr double kOutlineWidth = 1.5;
constexpr int kOutlineOpacity = 204;
/// The area, in squares of the outline's width, of the smallest opening that shows the bar.
constexpr double kMinOpening = 2.25;

/// What lies below a fill, half-transparent or not, is opaque: the bar must not shine through both.
std::uint8_t outlineBelow(std::uint8_t fill) { return static_cast<std::uint8_t>(std::min(2 * fill, 255)); }

class Painter {
 public:
  /// `side` is the square's, in pixels.
  Painter(const Coverage& fill, int side) : fill_(fill), side_(side), below_(fill.size()), outline_(fill.size()) {
    std::ranges::transform(fill, below_.begin(), outlineBelow);
    growOutline();
    closeSmallOpenings();
  }

  IconPixels paint() const {
    IconPixels icon{side_, side_, Coverage(fill_.size() * 4)};
    for (std::size_t i = 0; i < fill_.size(); ++i) {
      const int fill = fill_[i];
      const int outline = std::max<int>(outline_[i] * kOutlineOpacity / 255, below_[i]);
      const int alpha = fill + outline * (255 - fill) / 255;
      icon.argb[i * 4] = static_cast<std::uint8_t>(alpha);
      if (alpha > 0) std::fill_n(&icon.argb[i * 4 + 1], 3, static_cast<std::uint8_t>((fill * 255 + alpha / 2) / alpha));
    }
    return icon;
  }

 private:
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(side_) + static_cast<std::size_t>(x);
  }
  double radius() const { return kOutlineWidth * side_ / kSmallSide; }

  /// Gives each pixel the strongest of what lies under a disc with a soft rim around it.
  void growOutline() {
    const int reach = static_cast<int>(std::ceil(radius()));
    for (int dy = -reach; dy <= reach; ++dy) {
      for (int dx = -reach; dx <= reach; ++dx) {
        const double covered = std::clamp(radius() + 1.0 - std::sqrt(dx * dx + dy * dy), 0.0, 1.0);
        raiseOutline(dx, dy, static_cast<std::uint8_t>(std::lround(255.0 * covered)));
      }
    }
  }

  /// Raises the outline to what lies below the fill, moved by (dx, dy) and at most as strong as `strongest`.
  void raiseOutline(int dx, int dy, std::uint8_t strongest) {
    const int from = std::max(0, -dx);
    const int to = std::min(side_, side_ - dx);
    for (int y = std::max(0, -dy); y < std::min(side_, side_ - dy); ++y) {
      const std::uint8_t* const below = below_.data() + index(0, y);
      std::uint8_t* const outline = outline_.data() + index(0, y + dy) + dx;
      for (int x = from; x < to; ++x) {
        const std::uint8_t strength = below[x] < strongest ? below[x] : strongest;
        outline[x] = outline[x] < strength ? strength : outline[x];
      }
    }
  }

  /// Fills the enclosed openings of which the outline leaves only a speck or a sliver. A counter in the outline's tone
  /// reads well against the fill; a speck of the bar's colour does not.
  void closeSmallOpenings() {
    const double minArea = kMinOpening * radius() * radius() * 255.0;
    std::vector<bool> isVisited(outline_.size());
    for (int y = 0; y < side_; ++y) {
      for (int x = 0; x < side_; ++x) {
        if (outline_[index(x, y)] == 255 || isVisited[index(x, y)]) continue;
        const auto opening = openingAt(x, y, isVisited);
        int area = 0;  // in 255ths of a pixel
        for (const auto i : opening.pixels) area += 255 - outline_[i];
        if (opening.reachesEdge || area >= minArea) continue;
        for (const auto i : opening.pixels) outline_[i] = 255;
      }
    }
  }

  struct Opening {
    std::vector<std::size_t> pixels;
    bool reachesEdge = false;
  };
  /// All pixels connected to this one, side by side, that the outline does not cover fully.
  Opening openingAt(int x, int y, std::vector<bool>& isVisited) const {
    Opening opening;
    const auto visit = [&](int atX, int atY) {
      if (atX < 0 || atY < 0 || atX >= side_ || atY >= side_) {
        opening.reachesEdge = true;
      } else if (const auto i = index(atX, atY); outline_[i] < 255 && !isVisited[i]) {
        isVisited[i] = true;
        opening.pixels.push_back(i);
      }
    };
    visit(x, y);
    for (std::size_t next = 0; next < opening.pixels.size(); ++next) {
      const int atX = static_cast<int>(opening.pixels[next]) % side_;
      const int atY = static_cast<int>(opening.pixels[next]) / side_;
      visit(atX - 1, atY);
      visit(atX + 1, atY);
      visit(atX, atY - 1);
      visit(atX, atY + 1);
    }
    return opening;
  }

  const Coverage& fill_;
  int side_;
  Coverage below_;
  Coverage outline_;
};

}  // namespace

std::vector<IconPixels> twoToneIcon(const Shape& shape) {
  if (shape.alpha.empty()) return {};
  const auto coverage = coverageWithMargin(shape);
  return {Painter(coverage.small, kSmallSide).paint(), Painter(coverage.large, kLargeSide).paint()};
}

std::vector<std::uint8_t> inOtherTone(std::vector<std::uint8_t> argb) {
  for (std::size_t i = 0; i < argb.size(); ++i) {
    if (i % 4 != 0) argb[i] = static_cast<std::uint8_t>(255 - argb[i]);
  }
  return argb;
}

}  // namespace quill::freedesktop
