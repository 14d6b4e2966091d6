#include "outlined_icon.h"

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

TEST(TemplateIcon, FillOutlineAndOpeningsStandOutFromOneAnother) {
  const auto bars = [](double x, double y) {  // as thin as the strokes of symbolic icons, and as close
    const int column = static_cast<int>(x * 16);
    return y > 0.2 && y < 0.8 && (column == 5 || column == 7 || column == 9);
  };
  const auto holed = [](double x, double y) { return disc(x, y) && fromCentre(x, y) > 0.19; };
  const auto ring = [](double x, double y) { return disc(x, y) && fromCentre(x, y) > 0.32; };
  // In 22 places from left to right: # fill, o outline, _ clear; anything where edges are soft.
  const std::tuple<const char*, Drawing, double, const char*> cases[] = {
      {"disc", disc, 0.5, "oo.################.oo"},
      {"its corners", disc, 0.02, "___.{16}___"},
      {"shrunk for its outline", fullSquare, 0.5, "oo##################oo"},
      {"hole too small to stay open", holed, 0.5, "oo.###.oooooooo.###.oo"},
      {"ring", ring, 0.5, "oo.#.o..______..o.#.oo"},
      {"bars", bars, 0.5, "___..o.#..#o.{5}_____"},
  };
  const std::map<std::vector<int>, char> signs = {
      {{255, 255, 255, 255}, '#'}, {{255, 0, 0, 0}, 'o'}, {{0, 0, 0, 0}, '_'}};
  for (const auto& [name, shape, y, expected] : cases) {
    for (const auto& icon : templateIconPixels(draw(shape, 64, 64))) {
      std::string seen;
      for (double x = 0.5; x < 22; ++x) {
        const auto sign = signs.find(argbAt(icon, x / 22, y));
        seen += sign == signs.end() ? '~' : sign->second;
      }
      EXPECT_THAT(seen, MatchesRegex(expected)) << name << ", " << icon.width;
    }
  }
}

TEST(TemplateIcon, FaintStaysFaintOverAFullOutlineAndHairlinesGain) {
  const auto middle = [](std::uint8_t alpha) {
    auto source = draw(disc, 64, 64, {9, 9, 9, alpha});
    std::vector<std::vector<int>> seen;
    for (const auto& icon : templateIconPixels(source)) seen.push_back(argbAt(icon, 0.5, 0.5));
    std::fill_n(source.alpha.begin(), 64 * 8, std::uint8_t{255});  // a full part beside it
    for (const auto& icon : templateIconPixels(source)) seen.push_back(argbAt(icon, 0.5, 0.5));
    return seen;
  };
  const auto opaque = [](int tone) { return std::vector<int>{255, tone, tone, tone}; };
  EXPECT_THAT(middle(192), Each(opaque(192)));
  EXPECT_THAT(middle(128), ElementsAre(opaque(170), opaque(170), opaque(128), opaque(128)));
  EXPECT_THAT(middle(20)[0], opaque(170));
  for (const auto& [alpha, opacity] : {std::pair<std::uint8_t, const char*>{192, ".5"}, {255, "1"}})
    EXPECT_THAT(symbolicSvg(draw(disc, 64, 64, {9, 9, 9, alpha}), kSymbolic),
                MatchesRegex(".*opacity=\"" + std::string(opacity) + "\" d=[^=]*\n"));  // of the last layer
  const auto hairline = [](double x, double) { return x > 0.5 && x < 0.51; };
  EXPECT_THAT(shapeCoverage(draw(hairline, 128, 128)), Contains(255));
  auto fading = draw(fullSquare, 44, 44);
  for (std::size_t i = 0; i < 44 * 44; ++i) fading.alpha[i] = static_cast<std::uint8_t>(i % 44 * 255 / 43);
  const auto coverage = shapeCoverage(fading);
  for (std::size_t x = 0; x < 44; ++x) EXPECT_NEAR(coverage[x], static_cast<double>(x) * 255 / 43, 3);
  const auto icon = templateIconPixels(fading).front();
  const auto framed = framedCoverage(fading).small;
  for (std::size_t i = 0; i < framed.size(); ++i)
    EXPECT_NEAR(icon.argb[i * 4] * icon.argb[i * 4 + 1], framed[i] * 255, 255) << "what is white of it";
}

TEST(IconPixels, SizesComeFromTheSourcesOwnPixelsAndNothingStaysNothing) {
  const std::pair<Shape, std::vector<int>> cases[] = {
      {draw(fullSquare, 22, 10), {22}}, {draw(fullSquare, 23, 1), {22, 44}}, {draw(fullSquare, 1, 64), {22, 44}},
      {draw(fullSquare, 0, 5), {}},     {shapeOf({8, 8, {1, 2, 3}}), {}},    {draw(fullSquare, 30, 30, {}), {22, 44}}};
  for (const auto& [source, sides] : cases) {
    const bool isSeen = std::count(source.alpha.begin(), source.alpha.end(), 255) > 0;
    std::vector<int> seen;
    for (const auto& icon : templateIconPixels(source)) {
      seen.push_back(icon.width);
      EXPECT_NE(icon.argb == std::vector<std::uint8_t>(icon.argb.size()), isSeen);
    }
    EXPECT_EQ(seen, sides) << source.width << " x " << source.height;
    EXPECT_NE(symbolicSvg(source, kOutlined).empty(), isSeen);
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
  EXPECT_THAT(svg, HasSubstr("viewBox=\"1 1 20 20\"")) << "without what the host left free for an outline";
  EXPECT_THAT(svg, AllOf(HasSubstr(".ColorScheme-Text { color:#232629; }"),
                         Not(HasSubstr("class=\"ColorScheme-Background\""))));
  for (const std::string opacity : {".25", ".3333", ".5", "1"}) {  // layers, each on those before
    EXPECT_THAT(svg, HasSubstr("class=\"ColorScheme-Text\" fill=\"currentColor\" fill-opacity=\"" + opacity +
                               "\" d=\"M1 1h1v1h-1zM2 2h1v1h-1zM10 10h3v3h-3zM11 12h1v-1h-1z\""));
  }

  // Plasma's is shrunk for an outline, which lies beneath it.
  EXPECT_THAT(
      symbolicSvg(draw(fullSquare, 22, 22), kOutlined),
      MatchesRegex(
          ".*viewBox=\"0 0 22 22\".*class=\"ColorScheme-Background\".* stroke-width=\"3\" d=\"M2 2h18v18h-18z\"/>"
          "(<path class=\"ColorScheme-Text\"[^>]* d=\"M2 2h18v18h-18z\"/>){4}</svg>\n"));

  // What is kept of a larger picture gives the same.
  const auto large = draw(disc, 300, 200);
  EXPECT_LE(keptOf(large).alpha.size(), 44U * 44);
  EXPECT_EQ(symbolicSvg(keptOf(large), kSymbolic), symbolicSvg(large, kSymbolic));
  EXPECT_THAT(symbolicSvg(large, kSymbolic), HasSubstr("viewBox=\"4 4 36 36\"")) << "and of more no more";

  EXPECT_NE(symbolicName(svg), symbolicName(svg + " "));
  EXPECT_THAT(symbolicName(svg), MatchesRegex("[a-z0-9-]+-symbolic"));
}

}  // namespace quill::freedesktop::tests
