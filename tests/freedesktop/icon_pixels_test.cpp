#include "two_tone_icon.h"

#include <array>
#include <cmath>
#include <map>

#include "symbolic_svg.h"
#include "testing.h"

namespace quill::freedesktop::tests {

/// Whether a point of the square from 0 to 1 belongs to a shape.
using Drawing = std::function<bool(double x, double y)>;

double fromCentre(double x, double y) { return std::hypot(x - 0.5, y - 0.5); }
bool disc(double x, double y) { return fromCentre(x, y) < 0.4; }
bool fullSquare(double, double) { return true; }
constexpr Panel kSymbolic{.icon = IconForm::symbolic}, kOutlined{.icon = IconForm::symbolicWithOutline};

Shape draw(const Drawing& drawing, int width, int height, const std::array<std::uint8_t, 4>& color = {0, 0, 0, 255}) {
  Pixels pixels{width, height, {}};
  for (int i = 0; i < width * height; ++i) {
    const bool isSet = drawing((i % width + 0.5) / width, (i / width + 0.5) / height);
    for (const auto value : color) pixels.rgba.push_back(isSet ? value : std::uint8_t{0});
  }
  return shapeOf(pixels);
}

/// Alpha, red, green and blue at a point of the square from 0 to 1.
std::vector<int> argbAt(const IconPixels& icon, double x, double y) {
  const auto at = static_cast<int>(y * icon.height) * icon.width + static_cast<int>(x * icon.width);
  return {icon.argb.begin() + at * 4, icon.argb.begin() + at * 4 + 4};
}

TEST(TwoToneIcon, FillOutlineAndOpenings) {
  const auto bars = [](double x, double y) {  // as thin as the strokes of symbolic icons, and as close
    const int column = static_cast<int>(x * 16);
    return y > 0.2 && y < 0.8 && (column == 5 || column == 7 || column == 9);
  };
  const auto holed = [](double x, double y) { return disc(x, y) && fromCentre(x, y) > 0.13; };
  const auto ring = [](double x, double y) { return disc(x, y) && fromCentre(x, y) > 0.32; };
  // In 22 places from left to right: # fill, o outline, _ clear; anything where edges are soft.
  const std::tuple<const char*, Drawing, double, const char*> cases[] = {
      {"disc", disc, 0.5, "[o~]o[~#]#{16}[~#]?o[~_]"},
      {"its corners", disc, 0.02, "___.{16}___"},
      {"shrunk for its outline", fullSquare, 0.5, "o[~#]#{18}[~o]o"},
      {"hole too small to stay open", holed, 0.5, "[o~]o[~#]#{5}[~o]o{4}[~#]#{4}[~#]{2}o[~_]"},
      {"ring", ring, 0.5, "[o~]o[~#]#[o~]{2,3}_+[o~]{2,3}#[~#]o[~_]"},
      {"bars", bars, 0.5, "_{4,5}[o~]{2,3}#[o~]{2}[#o~]{2,7}_+"},
  };
  const std::map<std::vector<int>, char> signs = {
      {{255, 255, 255, 255}, '#'}, {{204, 0, 0, 0}, 'o'}, {{0, 0, 0, 0}, '_'}};
  for (const auto& [name, shape, y, expected] : cases) {
    for (const auto& icon : twoToneIcon(draw(shape, 64, 64))) {
      std::string seen;
      for (double x = 0.6; x < 22; ++x) {  // within a pixel at either size
        const auto sign = signs.find(argbAt(icon, x / 22, y));
        seen += sign == signs.end() ? '~' : sign->second;
      }
      EXPECT_THAT(seen, MatchesRegex(expected)) << name << ", " << icon.width;
    }
  }
}

/// The contrast of two greys as WCAG defines it.
double contrast(double first, double second) {
  const auto light = [](double grey) {
    return grey <= 10 ? grey / 255 / 12.92 : std::pow((grey / 255 + 0.055) / 1.055, 2.4);
  };
  return (std::max(light(first), light(second)) + 0.05) / (std::min(light(first), light(second)) + 0.05);
}

TEST(TwoToneIcon, FaintShapeStaysFaintAndIsSeenOnAnyBar) {
  for (const std::uint8_t alpha : std::initializer_list<std::uint8_t>{20, 128, 192, 255}) {
    auto source = draw(disc, 64, 64, {9, 9, 9, alpha});
    for (auto icon : twoToneIcon(source)) {
      const int white = std::max<int>(alpha, 197);
      for (const int shown : {white, 255 - white}) {
        EXPECT_THAT(argbAt(icon, 0.5, 0.5), ElementsAre(255, shown, shown, shown));
        const auto outline = argbAt(icon, 0.5, 1.8 / 22);
        for (int bar = 0; bar < 256; ++bar) {
          const double outlined = (outline[1] * outline[0] + bar * (255 - outline[0])) / 255.0;
          EXPECT_GE(std::max(contrast(shown, bar), contrast(outlined, bar)), 3) << bar;
        }
        icon.argb = inOtherTone(icon.argb);
      }
    }
    std::fill_n(source.alpha.begin(), 64 * 8, std::uint8_t{255});  // a full part beside it
    if (alpha < 128) continue;
    EXPECT_THAT(argbAt(twoToneIcon(source)[1], 0.5, 0.5), ElementsAre(255, alpha, alpha, alpha));
  }
  for (const auto& [alpha, opacity] : {std::pair<std::uint8_t, const char*>{192, ".5"}, {255, "1"}})
    EXPECT_THAT(symbolicSvg(draw(disc, 64, 64, {9, 9, 9, alpha}), kSymbolic),
                MatchesRegex(".*opacity=\"" + std::string(opacity) + "\" d=[^=]*\n"));  // of the last layer
}

TEST(TwoToneIcon, MirrorImageOfAShapeIsItsMirrorImage) {
  using Place = std::size_t (*)(std::size_t x, std::size_t y, std::size_t side);
  const Place mirrors[] = {[](auto x, auto y, auto side) { return y * side + side - 1 - x; },
                           [](auto x, auto y, auto side) { return (side - 1 - y) * side + x; },
                           [](auto x, auto y, auto side) { return x * side + y; }};
  const auto blots = [](double x, double y) { return y > 0.1 && std::sin(x * 40) + std::sin(y * 33 + x * 5) > 0.2; };
  for (const int side : {22, 31, 64, 200}) {
    const auto shape = draw(blots, side, side);
    for (const auto mirror : mirrors) {
      const auto mirrored = [mirror](const auto& from, int width, std::size_t bytes) {
        auto to = from;
        const auto length = static_cast<std::size_t>(width);
        for (std::size_t i = 0; i < length * length; ++i)
          std::copy_n(from.begin() + mirror(i % length, i / length, length) * bytes, bytes, to.begin() + i * bytes);
        return to;
      };
      const auto icons = twoToneIcon({side, side, mirrored(shape.alpha, side, 1)});
      for (const auto& icon : twoToneIcon(shape))
        EXPECT_EQ(mirrored(icon.argb, icon.width, 4), icons[icon.width / 44].argb) << side << ' ' << icon.width;
    }
  }
}

TEST(ShapeCoverage, HairlinesGainAndSoftEdgesStaySoft) {
  const auto hairline = [](double x, double) { return x > 0.5 && x < 0.51; };
  EXPECT_THAT(shapeCoverage(draw(hairline, 128, 128)), Contains(255));
  auto fading = draw(fullSquare, 44, 44);
  for (std::size_t i = 0; i < 44 * 44; ++i) fading.alpha[i] = static_cast<std::uint8_t>(i % 44 * 255 / 43);
  const auto coverage = shapeCoverage(fading);
  for (std::size_t x = 0; x < 44; ++x) EXPECT_NEAR(coverage[x], static_cast<double>(x) * 255 / 43, 3);
  const auto icon = twoToneIcon(fading).front();
  const auto framed = coverageWithMargin(fading).small;
  for (std::size_t i = 0; i < framed.size(); ++i)
    EXPECT_NEAR(icon.argb[i * 4] * icon.argb[i * 4 + 1], framed[i] * 255, 255) << "what is white of it";
}

TEST(TwoToneIcon, HasBothSizesUnlessTheSourceIsEmpty) {
  EXPECT_THAT(twoToneIcon(draw(fullSquare, 0, 5)), IsEmpty());
  EXPECT_THAT(twoToneIcon(shapeOf({8, 8, {1, 2, 3}})), IsEmpty()) << "fewer pixels than its size says";
  const std::pair<Shape, bool> cases[] = {{draw(fullSquare, 22, 10), true},
                                          {draw(fullSquare, 23, 1), true},
                                          {draw(fullSquare, 1, 64), true},
                                          {draw(fullSquare, 30, 30, {}), false}};
  for (const auto& [source, isSeen] : cases) {
    const auto icons = twoToneIcon(source);
    EXPECT_THAT(icons, ElementsAre(Field(&IconPixels::width, 22), Field(&IconPixels::width, 44)));
    for (const auto& icon : icons) EXPECT_EQ(std::ranges::count(icon.argb, 0) < std::ssize(icon.argb), isSeen);
    EXPECT_EQ(!symbolicSvg(source, kOutlined).empty(), isSeen);
  }
}

TEST(SymbolicSvg, HoldsTheShapeInFewPolygons) {
  // Two pixels that touch at a corner, and a square with a hole: no line between neighbours.
  const auto shape = [](double x, double y) {
    const int column = static_cast<int>(x * 22), row = static_cast<int>(y * 22);
    const int distance = std::max(std::abs(column - 11), std::abs(row - 11));
    return distance == 1 || (column == row && (row == 1 || row == 2));
  };
  const auto svg = symbolicSvg(draw(shape, 22, 22), kSymbolic);
  EXPECT_THAT(svg, HasSubstr("viewBox=\"2 2 40 40\"")) << "without what the host left free for an outline";
  EXPECT_THAT(svg, AllOf(HasSubstr(".ColorScheme-Text { color:#232629; }"),
                         Not(HasSubstr("class=\"ColorScheme-Background\""))));
  for (const std::string opacity : {".25", ".3333", ".5", "1"}) {  // layers, each on those before
    EXPECT_THAT(svg, HasSubstr("class=\"ColorScheme-Text\" fill=\"currentColor\" fill-opacity=\"" + opacity +
                               "\" d=\"M2 2h2v2h-2zM4 4h2v2h-2zM20 20h6v6h-6zM22 24h2v-2h-2z\""));
  }

  // Plasma's is shrunk for an outline, which lies beneath it.
  EXPECT_THAT(
      symbolicSvg(draw(fullSquare, 22, 22), kOutlined),
      MatchesRegex(
          ".*viewBox=\"0 0 44 44\".*class=\"ColorScheme-Background\".* stroke-width=\"6\" d=\"M3 3h38v38h-38z\"/>"
          "(<path class=\"ColorScheme-Text\"[^>]* d=\"M3 3h38v38h-38z\"/>){4}</svg>\n"));

  // What is kept of a larger picture gives the same.
  const auto large = draw(disc, 300, 200);
  EXPECT_LE(reduced(large).alpha.size(), 44U * 44);
  EXPECT_EQ(symbolicSvg(reduced(large), kSymbolic), symbolicSvg(large, kSymbolic));
  EXPECT_THAT(symbolicSvg(large, kSymbolic), HasSubstr("viewBox=\"4 4 36 36\"")) << "and of more no more";

  EXPECT_NE(symbolicName(svg), symbolicName(svg + " "));
  EXPECT_THAT(symbolicName(svg), MatchesRegex("[a-z0-9-]+-symbolic"));
}

}  // namespace quill::freedesktop::tests
